// The library, the reference on one thread, and the copies that are the floor for both.
#include <cstring>

#include "compare/contenders.h"
#include "compare/library.h"
#include "reference/pipeline.h"
#include "silent_log.h"

namespace brantel::bench {

namespace {

/// Position of a new frame against the one merged before.
cv::Point stepOf(const StitchFlags& before, const StitchFlags& now) {
    return {now.frameX - before.frameX, now.frameY - before.frameY};
}

/// Frames after the first are right when they were placed a true step from the one before. A canvas that
/// grew moved both, so the offset is compared, and that the frame was merged.
struct Score {
    int right = 1;
    void add(const StitchFlags& now, bool merged, cv::Point truth) {
        if (merged && isRight({now.offset.x, now.offset.y}, truth)) ++right;
    }
};

}  // namespace

Outcome runLibrary(const Scan& scan, const std::string& file, std::int32_t mainMode) {
    Outcome outcome;
    Library library(file, scan.setup, mainMode);
    Score score;
    StitchFlags before{};
    const Stopwatch whole;
    for (std::size_t i = 1; i < scan.frames.size(); ++i) {
        const Stopwatch watch;
        const StitchFlags now = library.stitch(i == 1 ? &scan.frames[0] : nullptr, scan.frames[i]);
        watch.addFrame(outcome);
        score.add(now, library.lastResult() >= 0 && stepOf(before, now) != cv::Point(0, 0), scan.step(i));
        before = now;
    }
    whole.endScan(outcome);
    outcome.right = score.right;
    return outcome;
}

Outcome runReference(const Scan& scan, std::int32_t mainMode) {
    Outcome outcome;
    const ScanSetup& setup = scan.setup;
    std::map<std::string, double> now;
    reference::Pipeline pipeline(silent(), {setup.rows, setup.cols, setup.channels, 1, 20000, 20000},
                                 {mainMode, 0}, [&now](const char* stage, double ms) { now[stage] += ms; });
    Score score;
    const Stopwatch whole;
    for (std::size_t i = 1; i < scan.frames.size(); ++i) {
        const StitchFlags before = pipeline.record();
        now.clear();
        const Stopwatch watch;
        const bool done = i == 1 ? pipeline.start(scan.frames[0].data, scan.frames[i].data)
                                 : pipeline.next(scan.frames[i].data);
        watch.addFrame(outcome);
        for (const auto& [stage, ms] : now) outcome.stages[stage].push_back(ms);
        score.add(pipeline.record(), done && stepOf(before, pipeline.record()) != cv::Point(0, 0),
                  scan.step(i));
    }
    whole.endScan(outcome);
    outcome.right = score.right;
    return outcome;
}

Outcome runCopy(const Scan& scan, bool withCanvasWindow) {
    Outcome outcome;
    const cv::Rect all = scan.extent();
    cv::Mat frame(scan.frameSize(), scan.frames[0].type(), cv::Scalar::all(1));
    cv::Mat canvas;
    if (withCanvasWindow) canvas = cv::Mat(6000, 6000, frame.type(), cv::Scalar::all(1));
    const Stopwatch whole;
    for (std::size_t i = 0; i < scan.frames.size(); ++i) {
        const Stopwatch watch;
        std::memcpy(frame.data, scan.frames[i].data, frame.total() * frame.elemSize());
        if (withCanvasWindow) {
            const cv::Point at = (scan.spots[i] - all.tl()) / 2;
            const std::size_t line = static_cast<std::size_t>(frame.cols) * frame.elemSize();
            for (int r = 0; r < frame.rows; ++r)
                std::memcpy(canvas.ptr(at.y + r) + static_cast<std::size_t>(at.x) * frame.elemSize(),
                            frame.ptr(r), line);
        }
        watch.addFrame(outcome);
    }
    whole.endScan(outcome);
    return outcome;
}

}  // namespace brantel::bench
