// From smoothed gradient products to the corners of one frame: response, suppression, selection.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/log.h"
#include "common/tuning.h"
#include "common/types.h"
#include "registration/thinning.h"

namespace brantel {

/// Border without corners on every side.
constexpr std::int32_t harrisBorder = 20;

/// The local maxima of a frame on their way to becoming corners; keeps its storage between frames.
struct CornerSelection {
    std::vector<float> values;
    std::vector<CornerPoint> points;
    std::vector<std::int32_t> columns;  // scratch of one row
    ThinningScratch thinning;

    void clear() {
        values.clear();
        points.clear();
    }
};

/// Appends the columns of row r that are the largest of their 3 x 3 neighbourhood in three rows of responses and above 0,
/// from left to right, inside the border. All pixels of a plateau qualify (quirk 26). The mean response that maxima have
/// to exceed is known only when all rows have been seen: see keepAbove.
void appendMaxima(const float* above, const float* at, const float* below, std::int32_t r, std::int32_t cols,
                  CornerSelection& selection);

/// Drops the maxima that do not exceed the threshold.
void keepAbove(float threshold, CornerSelection& selection);

/// sum with a row's responses inside the border, added one by one: the order of the additions is part of the result.
float addResponses(float sum, const float* response, std::int32_t cols);

/// Thins and spreads the maxima, which it consumes, and appends what is left in full-frame coordinates.
void keepBestCorners(const Log& log, CornerSelection& selection, const CornerTuning& tuning,
                     std::vector<CornerPoint>& corners);

/// Smoothed gradient products, each of rows x cols.
struct SmoothedProducts {
    const float* xx;
    const float* yy;
    const float* xy;
    std::int32_t rows;
    std::int32_t cols;
};

/// What corners are selected with, kept between frames.
struct SelectionScratch {
    Buffer<float> response;  // the last three rows
    CornerSelection selection;
};

/// The processor's share of detection for backends that compute the products elsewhere: response, suppression
/// above the mean response, thinning and spreading. Appends the corners in full-frame coordinates.
void selectCorners(const Log& log, const SmoothedProducts& products, const CornerTuning& tuning,
                   SelectionScratch& scratch, std::vector<CornerPoint>& corners);

}  // namespace brantel
