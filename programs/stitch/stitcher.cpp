#include "stitch/stitcher.h"

#include <chrono>

#include "pictures/picture_bytes.h"

namespace brantel::programs {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

void Stitcher::take(Frame frame) {
    FrameReport report;
    report.number = ++taken_;
    report.name = frame.name;
    report.origin = frame.origin;
    report.detail = frame.problem;
    report.beyond = frame.beyond;
    Candidate current{std::move(frame), std::move(report)};
    if (current.frame.image.empty()) {
        current.report.reason = current.frame.outOfMemory ? Reason::outOfMemory : Reason::unreadable;
        tell(current.report);
    } else if (!fits(current.frame.image)) {
        current.report.reason = Reason::wrongSize;
        current.report.detail = "it has " + sizeText(current.frame.image.size()) +
                                " pixels, the first frame has " +
                                sizeText({geometry_.columns, geometry_.rows});
        tell(current.report);
    } else if (track_.empty()) {
        beginWith(std::move(current));
    } else {
        running() ? addTo(current) : tryToBegin(current);
    }
}

/// The first frame that can be read decides on the size.
bool Stitcher::fits(const cv::Mat& image) {
    if (!session_) {
        const FrameGeometry geometry{image.rows, image.cols, image.channels()};
        session_ = std::make_unique<Session>(settings_, geometry, log_);
        geometry_ = geometry;
    }
    return image.rows == geometry_.rows && image.cols == geometry_.columns &&
           image.channels() == geometry_.channels;
}

void Stitcher::tell(FrameReport& report) {
    tell_(report);
    if (!report.placed) report.before = report.reason;
}

/// Takes its place as the first frame of the next mosaic.
void Stitcher::beginWith(Candidate candidate) {
    track_ = {{}};
    firstFrame_ = candidate.report.number;
    reference_ = std::move(candidate);
    refused_ = {};
    if (reference_.report.placed) return;  // in the mosaic before
    reference_.report.reason = Reason::noPartner;
    tell(reference_.report);
}

/// The library begins with a pair. The first frame may be the bad one, so the last frame that did not fit it
/// is tried as well.
void Stitcher::tryToBegin(Candidate& current) {
    bool begun = tryPair(reference_.frame, current, &reference_.frame.image);
    const bool slow = current.report.reason == Reason::shiftTooSmall;
    if (!begun && !slow && !refused_.frame.image.empty()) {
        Candidate second = current;
        begun = tryPair(refused_.frame, second, &refused_.frame.image);
        if (begun) {
            track_ = {{}};
            firstFrame_ = refused_.report.number;
            reference_ = std::move(refused_);
            refused_ = {};
            current = std::move(second);
        }
    }
    if (begun) {
        startMosaic();
        place(current);
    } else if (isLost(current.report.reason)) {
        lose(current);
    } else {
        tell(current.report);
        if (!slow) refused_ = std::move(current);
    }
}

/// The frame may also be the last one of the mosaic before; then its report stays as it is.
void Stitcher::startMosaic() {
    FrameReport& first = reference_.report;
    if (first.placed) return;
    first.placed = first.startsMosaic = true;
    first.reason = Reason::none;
    first.mosaic = mosaics_ + 1;
    tell(first);
}

void Stitcher::addTo(Candidate& current) {
    if (tryPair(reference_.frame, current, nullptr))
        place(current);
    else if (isLost(current.report.reason))
        lose(current);
    else
        tell(current.report);
}

/// Calls the library with each expectation in turn until one registers. A call that does not leaves
/// everything as it was, so trying again is safe.
bool Stitcher::tryPair(const Frame& earlier, Candidate& later, cv::Mat* first) {
    FrameReport& report = later.report;
    report.expected = expectation_.between(earlier, later.frame);
    const auto start = Clock::now();
    for (const std::optional<Shift>& expected : expectation_.attempts(earlier, later.frame)) {
        report.answer = first != nullptr ? session_->begin(*first, later.frame.image, expected)
                                         : session_->add(later.frame.image, expected);
        ++report.attempts;
        report.usedExpected = expected.has_value();
        if (contradicts(report)) report.answer.reason = Reason::contradicted;
        const bool registered = report.answer.result != -1 && report.answer.reason != Reason::contradicted;
        // Of two failures the whole frames' one tells more: a narrow strip seldom has corners enough.
        if (registered || !expected || report.attempts == 1) report.reason = report.answer.reason;
        if (registered) break;
    }
    report.milliseconds += millisecondsSince(start);
    report.measured = report.answer.result != -1;
    return report.answer.merged;
}

/// True when the pictures say that nothing has moved although it should have moved far: they have something in
/// common that does not move with the object, such as a scale bar.
bool Stitcher::contradicts(const FrameReport& report) const {
    if (report.answer.reason != Reason::shiftTooSmall || !report.expected) return false;
    const std::int32_t x = std::abs(report.expected->x);
    const std::int32_t y = std::abs(report.expected->y);
    constexpr std::int32_t fifth = 5;  // of a side; twice what is too small
    return fifth * x > geometry_.columns || fifth * y > geometry_.rows;
}

void Stitcher::place(Candidate& current) {
    FrameReport& report = current.report;
    const StitchFlags& record = report.answer.record;
    track_.push_back(track_.back() + cv::Point(record.offset.x, record.offset.y));
    report.placed = true;
    report.reason = Reason::none;
    report.mosaic = mosaics_ + 1;
    report.position = track_.back();
    tell(report);
    const bool limitMet = report.answer.result == 1;
    if (limitMet) endMosaic();
    // The next mosaic starts with this frame too, so that the two can be joined.
    if (limitMet)
        beginWith(std::move(current));
    else
        reference_ = std::move(current);
}

void Stitcher::lose(Candidate& current) {
    if (onLost_ == OnLost::restart) {
        endMosaic();
        beginWith(std::move(current));
        return;
    }
    tell(current.report);
    stopped_ = onLost_ == OnLost::stop;
    if (!running()) refused_ = std::move(current);
}

void Stitcher::endMosaic() {
    if (running()) {
        FinishedMosaic finished;
        finished.number = ++mosaics_;
        finished.picture = session_->picture();
        finished.origin = track_.back() - session_->lastFramePosition();
        finished.frameSize = {geometry_.columns, geometry_.rows};
        finished.firstFrame = firstFrame_;
        for (const cv::Point& at : track_) finished.path.push_back(at - finished.origin);
        save_(finished);
    }
    track_.clear();
}

}  // namespace brantel::programs
