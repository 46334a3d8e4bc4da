// One object of a report with everything in it checked.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>

#include "pictures/range.h"

namespace brantel::programs {

/// Fields that are null or missing give nothing; those of a wrong type or out of range throw InputError.
class ReportEntry {
  public:
    /// @param place  for messages: file and line
    ReportEntry(const nlohmann::json& object, std::string place)
        : object_(object), place_(std::move(place)) {}

    std::optional<std::string> text(const char* field) const;
    std::optional<std::int64_t> whole(const char* field, std::int64_t least, std::int64_t most) const;
    std::optional<double> number(const char* field, double least, double most) const;
    std::optional<cv::Point> pixels(const char* field) const;
    std::optional<cv::Point2d> place(const char* field) const;
    std::optional<Range> range(const char* field) const;

    [[noreturn]] void fail(const std::string& what) const;

  private:
    const nlohmann::json* find(const char* field) const;
    ReportEntry inside(const char* field) const;

    const nlohmann::json& object_;
    std::string place_;
};

}  // namespace brantel::programs
