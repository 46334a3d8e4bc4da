// A rendered scan in numbers.
#pragma once

#include <string>
#include <vector>

#include "picture/layout.h"
#include "render/frame_files.h"
#include "render/scan_frames.h"
#include "scan_solution.h"

namespace brantel::programs {

/// A picture of a scan.
struct RenderedPicture {
    std::int32_t number = 1;
    render::Layout layout;
    cv::Point origin;  ///< of its top-left pixel in the coordinates of the solved places
    std::string file;  ///< "": it was not written
};

/// Where every frame lies, for programs: a line of CSV each, with x and y in pixels of its picture.
/// @param names  of the frames' files, with the page where a file holds several
std::string positionTable(const std::vector<std::string>& names, const render::ScanSolution& solution,
                          const std::vector<RenderedPicture>& pictures);

/// What came out, for people.
/// @param lost  frames left out though they were wanted
std::string resultTable(const ScanFrames& scan, const render::ScanSolution& solution,
                        const std::vector<RenderedPicture>& pictures, std::size_t lost);

}  // namespace brantel::programs
