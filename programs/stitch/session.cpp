#include "stitch/session.h"

#include <cstdint>
#include <new>
#include <stdexcept>

#include "system/files.h"

namespace brantel::programs {

namespace {

/// Side of the library's canvas before it grows.
std::int64_t newCanvasSide(std::int32_t frameSide) {
    return frameSide <= 6000 ? 6000 : std::int64_t{frameSide} + 2000;
}

}  // namespace

void requireUsefulLimit(const SessionSettings& settings, cv::Size frame) {
    const std::int64_t limit = std::int64_t{settings.limitA} * settings.limitB;
    const std::int64_t rows = newCanvasSide(frame.height);
    const std::int64_t columns = newCanvasSide(frame.width);
    if (limit > rows * columns && limit <= INT32_MAX) return;
    throw InputError("--limit " + std::to_string(settings.limitA) + "," + std::to_string(settings.limitB) +
                     ": the product must be more than a new canvas has pixels (" + std::to_string(columns) +
                     " x " + std::to_string(rows) + ") and less than 2147483648");
}

Shift asLibraryArgument(Shift shift) {
    return {shift.x, shift.x < 0 ? -shift.y : shift.y};
}

Session::Session(const SessionSettings& settings, const FrameGeometry& frame, LibraryLog& log)
    : settings_(settings), frame_(frame), log_(log) {
    if (initJoint(frame.rows, frame.columns, frame.channels, settings.densityLevel, settings.limitA,
                  settings.limitB, settings.mainMode, settings.staticFlag))
        return;
    uinitJoint();
    const std::string lines = log_.newLines();
    if (tellsOfMemory(lines)) throw std::bad_alloc();
    throw std::runtime_error("the library cannot start (memory or threads are short); it says:\n" + lines);
}

Session::~Session() {
    canvas_.release();
    uinitJoint();
}

std::int32_t Session::call(cv::Mat* first, const cv::Mat& current, const std::optional<Shift>& expected) {
    log_.newLines();  // what is older belongs to other frames
    const Shift shift = asLibraryArgument(expected.value_or(Shift()));
    const bool begins = first != nullptr;
    return stichingImagedJoint(begins ? first->data : nullptr, current.data, begins ? 0 : 1, settings_.scale,
                               shift.x, shift.y, expected.has_value(), &minimum_, &maximum_, &canvas_,
                               &record_);
}

FrameAnswer Session::begin(cv::Mat& first, const cv::Mat& current, const std::optional<Shift>& expected) {
    const std::int32_t result = call(&first, current, expected);
    // With the second frame in it, the occupied part is larger than one frame.
    const bool merged = result != -1 && occupied().size() != cv::Size(frame_.columns, frame_.rows);
    return answer(result, merged);
}

FrameAnswer Session::add(const cv::Mat& current, const std::optional<Shift>& expected) {
    const StitchFlags before = record_;
    const std::int32_t result = call(nullptr, current, expected);
    // A merged frame always changes its position: it moves by 10 to 90 % of a side, and growth at the top or
    // the left adds a whole side to that. The bounds would not do: they stay inside the mosaic.
    const bool merged = result != -1 && (record_.frameX != before.frameX || record_.frameY != before.frameY);
    return answer(result, merged);
}

FrameAnswer Session::answer(std::int32_t result, bool merged) {
    FrameAnswer answer{result, merged, Reason::none, record_};
    if (!merged) answer.reason = reasonFor(result, record_, log_.newLines(), frame_, settings_.mainMode);
    return answer;
}

cv::Rect Session::occupied() const {
    return {cv::Point(minimum_.x, minimum_.y), cv::Point(maximum_.x, maximum_.y)};
}

cv::Point Session::lastFramePosition() const {
    return cv::Point(record_.frameX, record_.frameY) - occupied().tl();
}

}  // namespace brantel::programs
