#include "stitch/tally.h"

#include <algorithm>
#include <cstdlib>

namespace brantel::programs {

namespace {

/// Shifts along an axis that are too small say nothing about its direction.
void compare(std::int32_t found, std::int32_t expected, AxisAgreement& agreement) {
    constexpr std::int32_t far = 16;
    const std::int32_t tolerance = std::abs(expected) / 4;
    if (std::abs(expected) < far) return;
    if (std::abs(found - expected) <= tolerance) ++agreement.same;
    if (std::abs(found + expected) <= tolerance) ++agreement.opposite;
}

}  // namespace

void Tally::add(const FrameReport& report) {
    const bool skipped = !report.placed && isNormalSkip(report.reason);
    if (report.before)
        remove(report, *report.before);
    else
        addFirst(report);
    if (report.placed) {
        ++placed_;
    } else {
        ++reasons_[report.reason];
    }
    if (skipped) ++skipped_;
    if (report.waiting) ++waiting_;
    if (!report.placed && !skipped) examples_[report.reason].emplace(report.number, report);
    if (report.placed && !(report.before && report.before->placed)) addOffsets(report);
    last_ = report;
}

/// What was said of the frame before counts no more.
void Tally::remove(const FrameReport& report, const Told& told) {
    if (told.placed) {
        --placed_;
    } else {
        --reasons_[told.reason];
        if (isNormalSkip(told.reason)) --skipped_;
        examples_[told.reason].erase(report.number);
    }
    if (!told.waiting) return;
    --waiting_;
    if (report.placed && told.reason == Reason::nothingJoins) ++placedLater_;
}

/// What does not change when the frame is told once more.
void Tally::addFirst(const FrameReport& report) {
    ++frames_;
    if (report.beyond) {
        ++tooBright_;
        brightest_ = std::max(brightest_, *report.beyond);
    }
    if (!range_) range_ = report.origin.range;
    if (report.attempts == 0) return;
    ++stitched_;
    milliseconds_ += report.milliseconds;
    if (report.expected) ++expected_;
}

void Tally::addOffsets(const FrameReport& report) {
    if (!report.offset || !report.expected) return;
    if (report.contradicts && contradicting_++ == 0) firstContradicting_ = report;
    const std::int32_t x = std::abs(report.offset->x - report.expected->x);
    const std::int32_t y = std::abs(report.offset->y - report.expected->y);
    ++errors_.compared;
    if (x == 0 && y == 0) ++errors_.exact;
    errors_.largest = std::max({errors_.largest, x, y});
    if (report.usedExpected) return;
    compare(report.offset->x, report.expected->x, x_);
    compare(report.offset->y, report.expected->y, y_);
}

std::size_t Tally::count(Reason reason) const {
    const auto found = reasons_.find(reason);
    return found == reasons_.end() ? 0 : found->second;
}

std::map<std::string, std::size_t> Tally::refusals() const {
    std::map<std::string, std::size_t> counts;
    for (const auto& [reason, count] : reasons_)
        if (count > 0 && !isNormalSkip(reason)) counts[nameOf(reason)] = count;
    return counts;
}

std::string Tally::refusalsText() const {
    std::string text;
    for (const auto& [reason, count] : refusals())
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + reason;
    return text;
}

double Tally::libraryFramesPerSecond() const {
    return milliseconds_ > 0 ? 1000 * static_cast<double>(stitched_) / milliseconds_ : 0;
}

}  // namespace brantel::programs
