// What the workers do for the next call while the host fetches its frame.
#pragma once

#include <atomic>
#include <opencv2/core/mat.hpp>

#include "common/types.h"
#include "common/worker_pair.h"

namespace brantel {

class CpuEngine;

/// Describes a new template as the last calls expected it, and gets the memory under the place where the next frame would
/// lie if the camera goes on as it did. Writes no line and no pixel of the canvas; what fails is forgotten, since the call
/// does it again.
class IdleWork {
  public:
    explicit IdleWork(CpuEngine& engine) : engine_(engine) {}
    IdleWork(const IdleWork&) = delete;
    IdleWork& operator=(const IdleWork&) = delete;
    ~IdleWork() { finish(); }

    /// At the end of a call: hands the work to a worker if there is any. It waits a moment first: a host that calls again at
    /// once is served best by both threads sharing its next call.
    void begin();
    /// The next call begins: what has not begun is left out, and what it does not need need not be finished.
    void hurry() {
        hurried_ = true;
        Description offered = Description::offered;
        description_.compare_exchange_strong(offered, Description::none);
    }
    /// True when the template is being described, or has been, for such a shift.
    bool describesFor(const ExpectedShift& shift) const;
    /// True while a worker describes the template: with the caller's thread that keeps two processors busy.
    bool isBusy() const { return description_ == Description::begun; }
    /// Waits until nothing is left to do. True when the template was described and has corners.
    bool finish();

  private:
    enum class Description { none, offered, begun, done, failed };

    void work();
    bool describe();
    void touchPages();

    CpuEngine& engine_;
    bool working_ = false;
    ExpectedShift lastExpected_;
    ExpectedShift shift_;  // that the template is described for
    std::atomic<bool> hurried_{false};
    std::atomic<Description> description_{Description::none};
    cv::Mat memory_;   // that the canvas is a view into
    cv::Rect window_;  // of the memory

    struct Work {
        IdleWork& idle;
        void operator()() { idle.work(); }
    } work_{*this};
};

}  // namespace brantel
