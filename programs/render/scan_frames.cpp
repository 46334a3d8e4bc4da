#include "render/scan_frames.h"

#include <algorithm>
#include <limits>
#include <map>

namespace brantel::programs {

namespace {

/// Puts frames that only the stage has placed beside those of the live run.
class ByStage {
  public:
    explicit ByStage(const ScanReport& report) {
        for (const ReportedFrame& frame : report.frames) {
            lastMap_ = std::max(lastMap_, frame.map);
            if (frame.state == FrameState::placed && frame.stage) placed_.push_back(&frame);
        }
    }

    /// Stages wander, so the frame beside it tells best where the stage's coordinates lie in those of the map. Where there is
    /// none, the stage's coordinates are a map of their own.
    void place(const cv::Point2d& stage, render::ScanFrame& frame) const {
        frame.fromStage = true;
        frame.stage = stage;
        frame.group = lastMap_ + 1;
        frame.place = stage;
        double least = std::numeric_limits<double>::infinity();
        for (const ReportedFrame* other : placed_) {
            const cv::Point2d away = stage - *other->stage;
            if (away.dot(away) >= least) continue;
            least = away.dot(away);
            frame.group = other->map;
            frame.place = cv::Point2d(other->position) + away;
        }
    }

  private:
    std::vector<const ReportedFrame*> placed_;
    std::int32_t lastMap_ = 0;
};

/// Only what both frames' places count for is worth knowing.
void forgetUnwantedJoins(std::vector<render::ScanFrame>& frames) {
    for (render::ScanFrame& frame : frames)
        if (frame.joins && !(frame.wanted && frames[*frame.joins].wanted)) frame.joins.reset();
}

render::ScanFrame placedFrame(const ReportedFrame& reported) {
    render::ScanFrame frame;
    frame.group = reported.map;
    frame.place = reported.position;
    frame.stage = reported.stage;
    if (reported.joins == 0 || !reported.offset) return frame;
    frame.joins = reported.joins - 1;
    frame.offset = *reported.offset;
    return frame;
}

}  // namespace

ScanFrames scanFramesOf(const ScanReport& report) {
    const ByStage byStage(report);
    ScanFrames scan;
    for (const ReportedFrame& reported : report.frames) {
        render::ScanFrame frame;
        if (reported.state == FrameState::placed) {
            frame = placedFrame(reported);
        } else if (reported.state == FrameState::skipped || !reported.stage) {
            frame.wanted = false;
            ++(reported.state == FrameState::skipped ? scan.nothingNew : scan.placeless);
        } else {
            byStage.place(*reported.stage, frame);
        }
        scan.frames.push_back(frame);
    }
    forgetUnwantedJoins(scan.frames);
    return scan;
}

void leaveOut(std::size_t number, std::vector<render::ScanFrame>& frames) {
    frames[number].wanted = false;
    frames[number].joins.reset();
    for (render::ScanFrame& frame : frames)
        if (frame.joins == number) frame.joins.reset();
}

std::vector<std::size_t> wantedOf(const std::vector<render::ScanFrame>& frames) {
    std::vector<std::size_t> wanted;
    for (std::size_t number = 0; number < frames.size(); ++number)
        if (frames[number].wanted) wanted.push_back(number);
    return wanted;
}

std::vector<cv::Size2d> extentsOf(const std::vector<render::ScanFrame>& frames, cv::Size frame) {
    std::map<std::int32_t, std::pair<cv::Point2d, cv::Point2d>> corners;
    for (const render::ScanFrame& known : frames) {
        if (!known.wanted) continue;
        const auto found = corners.emplace(known.group, std::pair(known.place, known.place)).first;
        auto& [least, most] = found->second;
        least = {std::min(least.x, known.place.x), std::min(least.y, known.place.y)};
        most = {std::max(most.x, known.place.x), std::max(most.y, known.place.y)};
    }
    std::vector<cv::Size2d> extents;
    for (const auto& [group, corner] : corners) {
        const cv::Point2d span = corner.second - corner.first;
        extents.emplace_back(span.x + frame.width, span.y + frame.height);
    }
    return extents;
}

}  // namespace brantel::programs
