// A whole scan solved at once: positions and light.
#pragma once

#include <cstdint>
#include <vector>

#include "cancel.h"
#include "frame_reader.h"
#include "light/flat_field.h"
#include "positions/scan_frame.h"

namespace brantel::render {

enum class FlatFieldChoice { automatic, given, none };

struct SolveSettings {
    cv::Size frameSize;
    FlatFieldChoice flatField = FlatFieldChoice::automatic;
    cv::Mat
        givenField;  ///< if given: a picture of even light, of a frame's size, 1 channel or as many as the frames
    bool gains = true;  ///< solve every frame's gain
};

/// How well things agree, for people.
struct Agreement {
    std::size_t pairs = 0;     ///< compared
    std::size_t measured = 0;  ///< that gave a shift
    std::size_t dropped = 0;   ///< that contradict the others
    double before =
        0;  ///< root mean square of what the pairs that count differ by at the places known before, pixels
    double after = 0;        ///< at the solved places
    double seamsBefore = 0;  ///< median of the relative steps in brightness where frames overlap, 0.1 = 10 %
    double seamsAfter = 0;   ///< with flat field and gains
};

struct ScanSolution {
    std::vector<SolvedFrame> frames;
    std::vector<MeasuredPair> pairs;
    std::vector<float> gains;  ///< one for each frame
    FlatField light;
    std::string lightRemark;  ///< why no profile was made or applied; "" when it was, or was not wanted
    std::vector<std::size_t> unreadable;
    std::vector<std::size_t>
        contradicted;  ///< all that they overlap says that they lie elsewhere than was known
    Agreement agreement;
};

/// Reads every wanted frame once. Throws Cancelled and std::bad_alloc.
ScanSolution solveScan(const std::vector<ScanFrame>& frames, const SolveSettings& settings,
                       FrameReader& reader, const Progress& progress);

}  // namespace brantel::render
