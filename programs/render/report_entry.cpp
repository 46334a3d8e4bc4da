#include "render/report_entry.h"

#include <nlohmann/json.hpp>

#include "system/files.h"

namespace brantel::programs {

namespace {

using Json = nlohmann::json;

constexpr double largestSample = 1e300;
constexpr std::int32_t farthest = 1 << 30;  // pixels that a place may lie from (0, 0)

std::string textOf(double number) {
    return Json(number).dump();
}

}  // namespace

void ReportEntry::fail(const std::string& what) const {
    throw InputError(place_ + ": " + what);
}

const Json* ReportEntry::find(const char* field) const {
    const auto found = object_.find(field);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
}

ReportEntry ReportEntry::inside(const char* field) const {
    const Json* object = find(field);
    if (!object->is_object()) fail(std::string(field) + " must be an object with x and y");
    return {*object, place_ + ": " + field};
}

std::optional<std::string> ReportEntry::text(const char* field) const {
    const Json* value = find(field);
    if (value == nullptr) return std::nullopt;
    if (!value->is_string()) fail(std::string(field) + " must be a text");
    std::string text = value->get<std::string>();
    if (text.find('\0') != std::string::npos) fail(std::string(field) + " holds a zero");
    return text;
}

std::optional<std::int64_t> ReportEntry::whole(const char* field, std::int64_t least,
                                               std::int64_t most) const {
    const Json* value = find(field);
    if (value == nullptr) return std::nullopt;
    const bool fits = value->is_number_integer() &&
                      (!value->is_number_unsigned() || value->get<std::uint64_t>() <= INT64_MAX) &&
                      value->get<std::int64_t>() >= least && value->get<std::int64_t>() <= most;
    if (!fits)
        fail(std::string(field) + " must be a whole number from " + std::to_string(least) + " to " +
             std::to_string(most));
    return value->get<std::int64_t>();
}

std::optional<double> ReportEntry::number(const char* field, double least, double most) const {
    const Json* value = find(field);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number() || !(value->get<double>() >= least && value->get<double>() <= most))
        fail(std::string(field) + " must be a number from " + textOf(least) + " to " + textOf(most));
    return value->get<double>();
}

std::optional<cv::Point> ReportEntry::pixels(const char* field) const {
    if (find(field) == nullptr) return std::nullopt;
    const ReportEntry point = inside(field);
    const auto x = point.whole("x", -farthest, farthest);
    const auto y = point.whole("y", -farthest, farthest);
    if (!x || !y) point.fail("x and y must both be there");
    return cv::Point(static_cast<std::int32_t>(*x), static_cast<std::int32_t>(*y));
}

std::optional<cv::Point2d> ReportEntry::place(const char* field) const {
    if (find(field) == nullptr) return std::nullopt;
    const ReportEntry point = inside(field);
    const auto x = point.number("x", -farthest, farthest);
    const auto y = point.number("y", -farthest, farthest);
    if (!x || !y) point.fail("x and y must both be there");
    return cv::Point2d(*x, *y);
}

std::optional<Range> ReportEntry::range(const char* field) const {
    const Json* value = find(field);
    if (value == nullptr) return std::nullopt;
    if (value->is_array() && value->size() == 2 && (*value)[0].is_number() && (*value)[1].is_number()) {
        const Range range{(*value)[0].get<double>(), (*value)[1].get<double>()};
        if (-largestSample <= range.low && range.low < range.high && range.high <= largestSample)
            return range;
    }
    fail(std::string(field) + " must be two numbers, the smaller one first");
}

}  // namespace brantel::programs
