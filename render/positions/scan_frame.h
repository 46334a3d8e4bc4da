// What is known of a scan's frames before their positions are solved.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core/types.hpp>
#include <optional>
#include <vector>

namespace brantel::render {

/// Frames are numbered from 0 in the order of taking; so are these.
struct ScanFrame {
    bool wanted = true;      ///< it belongs into a picture
    std::int32_t group = 0;  ///< frames of one group share coordinates: a map of the live run
    cv::Point2d place;       ///< of its top-left pixel in its group, in pixels
    bool fromStage = false;  ///< the place is the stage's, not found in the pictures
    std::optional<cv::Point2d>
        stage;  ///< what the stage said, in pixels; the same coordinates for all groups
    std::optional<std::size_t> joins;  ///< the frame that the live run found it against
    cv::Point2d offset;                ///< from that frame's top-left pixel
};

/// Where a frame lies in the end.
struct SolvedFrame {
    std::int32_t picture =
        0;  ///< frames of one number share a picture, from 1 in the order of their first frames; 0: in none
    cv::Point2d place;          ///< in the picture's coordinates: in the first frame's group, fractions kept
    std::int32_t evidence = 0;  ///< pairs that say so; 0: kept where it was known to be
};

/// Two frames that were compared; offset: of the second one's top-left pixel from the first one's.
struct MeasuredPair {
    std::size_t first;
    std::size_t second;
    cv::Point2d offset;
    double weight = 1;     ///< 0 to 1
    double residual = 0;   ///< pixels, after solving
    bool dropped = false;  ///< it contradicts the others
};

}  // namespace brantel::render
