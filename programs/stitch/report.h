// What happened, as lines for programs: JSON objects, one for each event.
#pragma once

#include <string>
#include <vector>

#include "pictures/channels.h"
#include "stitch/frame_report.h"
#include "stitch/session.h"
#include "stitch/tally.h"

namespace brantel::programs {

/// A picture that was written.
struct SavedMosaic {
    std::string file;
    std::int32_t mosaic = 1;
    cv::Size size;
    cv::Point origin;
    std::size_t frames = 0;
    std::size_t firstFrame = 0;
};

/// The whole run.
struct RunSummary {
    SessionSettings settings;
    std::vector<SavedMosaic> mosaics;
    std::vector<std::string> inputs;
    std::string output;
    Channels channels = Channels::asStored;  ///< asked for; as stored: of the first frame that can be read
    double pixelSize = 0;                    ///< micrometres; 0: not known
    bool positionsKnown = false;             ///< expected offsets are measured ones and worth comparing with
    double seconds = 0;                      ///< from the first frame to the last, with reading
    std::size_t dropped = 0;                 ///< frames of a camera that nobody had time for
    bool interrupted = false;                ///< ended by a signal
    bool stopped = false;                    ///< ended by a lost frame
};

/// Every function gives one line with its end. Numbers that are none are null.
std::string runLine(const RunSummary& summary);
std::string frameLine(const FrameReport& frame);
std::string rangeLine(const Range& range);
std::string droppedLine(std::size_t dropped);
std::string pictureLine(const SavedMosaic& mosaic);
std::string summaryLine(const Tally& tally, const RunSummary& summary);

double framesPerSecond(const Tally& tally, const RunSummary& summary);

}  // namespace brantel::programs
