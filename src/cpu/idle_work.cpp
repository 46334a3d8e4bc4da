#include "cpu/idle_work.h"

#include "common/guard.h"
#include "common/look_out.h"
#include "cpu/state.h"
#include "platform/platform.h"

namespace brantel {

namespace {

/// Says nothing: the lines of a template without corners belong to the call that finds it so.
class SilentSink final : public LogSink {
  public:
    void debugLine(const char* /*text*/) override {}
    void write(const char* /*text*/, std::size_t /*length*/) override {}
};

/// All memory that a canvas is a view into.
cv::Mat wholeOf(const cv::Mat& canvas, cv::Point* at) {
    cv::Size whole;
    canvas.locateROI(whole, *at);
    cv::Mat memory = canvas;
    return memory.adjustROI(at->y, whole.height - at->y - canvas.rows, at->x,
                            whole.width - at->x - canvas.cols);
}

}  // namespace

void IdleWork::begin() {
    finish();
    const bool asBefore = sameShift(engine_.expected, lastExpected_);
    lastExpected_ = engine_.expected;
    const Mosaic& mosaic = engine_.mosaic;
    if (mosaic.templateState != TemplateState::placed) return;
    hurried_ = false;
    description_ = asBefore || !engine_.expected.use ? Description::offered : Description::none;
    shift_ = engine_.expected;
    cv::Point at;
    memory_ = wholeOf(mosaic.canvas, &at);
    const cv::Rect next(at.x + mosaic.record.frameX + mosaic.record.offset.x,
                        at.y + mosaic.record.frameY + mosaic.record.offset.y, engine_.frame.cols,
                        engine_.frame.rows);
    window_ = next & cv::Rect(cv::Point(), memory_.size());
    working_ = engine_.workers.model.request(Job::of(work_));
    if (!working_) description_ = Description::none;
}

bool IdleWork::describesFor(const ExpectedShift& shift) const {
    return description_ != Description::none && sameShift(shift_, shift);
}

bool IdleWork::finish() {
    hurry();
    if (working_) engine_.workers.model.wait();
    working_ = false;
    memory_.release();
    return description_.exchange(Description::none) == Description::done;
}

void IdleWork::work() {
    lookOutFor([this] { return hurried_.load(); });
    Description offered = Description::offered;
    if (description_.compare_exchange_strong(offered, Description::begun))
        description_ = describe() ? Description::done : Description::failed;
    touchPages();
}

/// False when it failed, or the template has no corners.
bool IdleWork::describe() {
    SilentSink silence;
    const Log silent(silence);
    CpuSide& side = engine_.previousSide;
    return succeeds(silent, "", [&] {
        side.features.corners.clear();
        engine_.describeSide(silent, side, engine_.templateGrey.data(), shift_, nullptr);
        return !side.features.corners.empty();
    });
}

void IdleWork::touchPages() {
    const std::size_t bytes = static_cast<std::size_t>(window_.width) * memory_.elemSize();
    for (int r = 0; r < window_.height && !hurried_; ++r)
        platform::populatePages(memory_.ptr(window_.y + r, window_.x), bytes);
}

}  // namespace brantel
