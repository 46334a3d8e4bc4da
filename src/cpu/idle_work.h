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

    /// At the end of a call: hands the work to a worker if there is any.
    void begin();
    /// The next call begins: what it does not need need not be finished.
    void hurry() { hurried_ = true; }
    /// True when the template is being described, or has been, for such a shift.
    bool describesFor(const ExpectedShift& shift) const;
    /// True while a worker describes the template: with the caller's thread that keeps two processors busy.
    bool isBusy() const { return describing_ && !ready_; }
    /// Waits until nothing is left to do. True when the template was described and has corners.
    bool finish();

  private:
    void describe();
    void touchPages();

    CpuEngine& engine_;
    bool working_ = false;
    bool describing_ = false;
    bool described_ = false;
    ExpectedShift lastExpected_;
    ExpectedShift shift_;  // that the template is described for
    std::atomic<bool> hurried_{false};
    std::atomic<bool> ready_{false};  // the description
    cv::Mat memory_;                  // that the canvas is a view into
    cv::Rect window_;                 // of the memory

    struct Work {
        IdleWork& work;
        void operator()() {
            if (work.describing_) work.describe();
            work.touchPages();
        }
    } work_{*this};
};

}  // namespace brantel
