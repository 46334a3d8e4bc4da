// What happened, as text for programs (JSON) and for people.
#pragma once

#include <string>
#include <vector>

#include "stitcher.h"

namespace host {

/// A picture that was written.
struct SavedMosaic {
    std::string file;
    cv::Size size;
    std::size_t frames = 0;
};

/// The whole run.
struct RunSummary {
    SessionSettings settings;
    std::vector<SavedMosaic> mosaics;
    bool positionsKnown = false;  ///< expected offsets are measured ones and worth comparing with
    double seconds = 0;           ///< from the first frame to the last, with reading
    bool interrupted = false;     ///< ended by Ctrl-C
    bool stopped = false;         ///< ended by a lost frame
};

/// How far the found offsets are from the expected ones, over all placed frames that have both.
struct OffsetErrors {
    std::size_t compared = 0;
    std::size_t exact = 0;
    std::int32_t largest = 0;  ///< in x or y, pixels
};
OffsetErrors offsetErrors(const std::vector<FrameReport>& reports);

std::size_t placedFrames(const std::vector<FrameReport>& reports);

/// One line with a JSON object per frame, then one with the summary. Numbers that are none are null.
std::string jsonLines(const std::vector<FrameReport>& reports, const RunSummary& summary);

/// Why frames were refused, for instance "2 unreadable, 1 motion".
std::string reasonsAndCounts(const std::vector<FrameReport>& reports);

/// A short table.
std::string table(const std::vector<FrameReport>& reports, const RunSummary& summary);

}  // namespace host
