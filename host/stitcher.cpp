#include "stitcher.h"

#include <chrono>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

void Stitcher::take(Frame frame) {
    FrameReport report;
    report.name = frame.name;
    // Its entry comes first: what happens to the frame may end a mosaic, which completes entries.
    const std::size_t index = frame.index = reports_.size();
    reports_.push_back(report);
    if (frame.image.empty()) {
        reports_[index].reason = Reason::unreadable;
    } else if (!fits(frame.image)) {
        reports_[index].reason = Reason::wrongSize;
    } else if (track_.empty()) {
        beginWith(frame);
    } else {
        running() ? addTo(frame, reports_[index]) : tryToBegin(frame, reports_[index]);
    }
}

/// The first frame that can be read decides on the size.
bool Stitcher::fits(const cv::Mat& image) {
    if (!session_) {
        geometry_ = {image.rows, image.cols, image.channels()};
        session_ = std::make_unique<Session>(settings_, geometry_, log_);
    }
    return image.rows == geometry_.rows && image.cols == geometry_.columns &&
           image.channels() == geometry_.channels;
}

void Stitcher::beginWith(Frame frame) {
    track_ = {{frame.index, {}}};
    reference_ = std::move(frame);
    refused_ = {};
    FrameReport& report = reports_[reference_.index];
    if (!report.placed) report.reason = Reason::noPartner;  // until one comes
}

/// The library begins with a pair. The first frame may be the bad one, so the last frame that did not fit it
/// is tried as well.
void Stitcher::tryToBegin(const Frame& frame, FrameReport& report) {
    bool begun = tryPair(reference_, frame, report, &reference_.image);
    const bool slow = report.reason == Reason::shiftTooSmall;
    if (!begun && !slow && !refused_.image.empty()) {
        FrameReport second = report;
        begun = tryPair(refused_, frame, second, &refused_.image);
        if (begun) {
            beginWith(refused_);
            report = second;
        }
    }
    if (begun) {
        startMosaicWith(reports_[reference_.index]);
        place(frame, report);
    } else if (isLost(report.reason)) {
        lose(frame);
    } else if (!slow) {
        refused_ = frame;
    }
}

/// The frame may also be the last one of the mosaic before; then its entry stays as it is.
void Stitcher::startMosaicWith(FrameReport& first) {
    if (first.placed) return;
    first.placed = first.startsMosaic = true;
    first.reason = Reason::none;
    first.mosaic = mosaics_ + 1;
    ++placed_;
}

void Stitcher::addTo(const Frame& frame, FrameReport& report) {
    if (tryPair(reference_, frame, report, nullptr)) {
        place(frame, report);
    } else if (isLost(report.reason)) {
        lose(frame);
    }
}

/// Calls the library with each expectation in turn until one registers. A call that does not leaves
/// everything as it was, so trying again is safe.
bool Stitcher::tryPair(const Frame& earlier, const Frame& later, FrameReport& report, cv::Mat* first) {
    report.expected = expectation_.between(earlier, later);
    const auto start = Clock::now();
    for (const std::optional<Shift>& expected : expectation_.attempts(earlier, later)) {
        report.answer = first != nullptr ? session_->begin(*first, later.image, expected)
                                         : session_->add(later.image, expected);
        ++report.attempts;
        report.usedExpected = expected.has_value();
        const bool registered = report.answer.result != -1;
        // Of two failures the whole frames' one tells more: a narrow strip seldom has corners enough.
        if (registered || !expected || report.attempts == 1) report.reason = report.answer.reason;
        if (registered) break;
    }
    report.milliseconds += millisecondsSince(start);
    report.measured = report.answer.result != -1;
    return report.answer.merged;
}

void Stitcher::place(const Frame& frame, FrameReport& report) {
    const StitchFlags& record = report.answer.record;
    track_.push_back({frame.index, track_.back().at + cv::Point(record.offset.x, record.offset.y)});
    report.placed = true;
    report.mosaic = mosaics_ + 1;
    ++placed_;
    reference_ = frame;
    if (report.answer.result != 1) return;
    // The area limit is met. The next mosaic starts with this frame too, so that the two can be joined.
    endMosaic();
    beginWith(frame);
}

void Stitcher::lose(const Frame& frame) {
    switch (onLost_) {
        case OnLost::skip:
            if (!running()) refused_ = frame;
            break;
        case OnLost::restart:
            endMosaic();
            beginWith(frame);
            break;
        case OnLost::stop:
            stopped_ = true;
            break;
    }
}

void Stitcher::endMosaic() {
    if (running()) {
        FinishedMosaic finished;
        finished.number = ++mosaics_;
        finished.picture = session_->picture();
        finished.frameSize = {geometry_.columns, geometry_.rows};
        const cv::Point origin = session_->lastFramePosition() - track_.back().at;
        for (const Placed& placed : track_) {
            const cv::Point at = origin + placed.at;
            finished.path.push_back(at);
            if (reports_[placed.report].mosaic == finished.number) reports_[placed.report].position = at;
        }
        save_(finished);
    }
    track_.clear();
}

void Stitcher::finish() {
    endMosaic();
}

}  // namespace host
