// Frames taken in rows and columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>

namespace brantel::programs {

struct Grid {
    std::int32_t columns = 0;
    std::int32_t rows = 0;
    bool snake = false;    ///< every second row runs back
    double overlap = 0.2;  ///< part of a frame that neighbours share

    std::size_t frames() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }

    /// The top-left corner of the frame with this index, row by row from the first frame; nothing behind the
    /// last one.
    std::optional<cv::Point2d> placeOf(std::size_t index, cv::Size frame) const;
};

/// "5x3", "5x3,snake", "5x3,snake,overlap=20" (percent); nothing for what is no grid.
std::optional<Grid> parseGrid(const std::string& text);

}  // namespace brantel::programs
