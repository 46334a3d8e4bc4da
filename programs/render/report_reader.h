// The report of brantel-stitch, read back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>
#include <vector>

#include "pictures/channels.h"
#include "pictures/range.h"

namespace brantel::programs {

enum class FrameState { placed, skipped, waiting, refused };

/// What the report says of a frame in the end.
struct ReportedFrame {
    std::string name;
    FrameState state = FrameState::refused;
    std::int32_t map = 0;   ///< from 1; 0: its place is not known
    cv::Point position;     ///< in that map
    std::size_t joins = 0;  ///< number of the frame that it was joined to, from 1; 0: none
    std::optional<cv::Point> offset;
    std::optional<cv::Point2d> stage;

    std::string path;  ///< "": it was in no file
    std::string kept;  ///< the file that it was written to by itself; "": none
    std::size_t page = 1;
    std::int64_t bytes =
        -1;  ///< of the file that it is to be read from, the kept one if there is one; -1: not known
    std::string modified;  ///< as timeText() tells it; "": not known
};

struct ScanReport {
    std::vector<ReportedFrame> frames;  ///< the n-th has the number n + 1
    Channels channels = Channels::asStored;
    double pixelSize = 0;        ///< micrometres; 0: not known
    std::optional<Range> range;  ///< that became 1 and 255; nothing: 8 bits, as stored
    bool complete = false;       ///< it has its last line
};

/// A report that breaks off is read as far as it goes. Throws InputError, naming file and line.
ScanReport readScanReport(const std::filesystem::path& path);
ScanReport readScanReport(std::istream& lines, const std::string& name);

}  // namespace brantel::programs
