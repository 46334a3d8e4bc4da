// Flat field and gains, solved together over the overlaps.
#pragma once

#include <string>
#include <vector>

#include "light/cells.h"
#include "light/flat_field.h"

namespace brantel::render {

/// What is known about a scan's light.
struct LightEvidence {
    std::vector<LightCell> cells;
    std::vector<LightGrid> grids;  ///< of every frame; empty values for frames that were not read
    std::int32_t channels = 1;
    cv::Size frameSize;
};

struct LightSolution {
    FlatField field;
    std::vector<float> gains;  ///< one for each frame
    std::string remark;        ///< why there is no field although it was asked for
    double seamsBefore = 0;    ///< median of the absolute relative steps
    double seamsAfter = 0;
};

/// Logarithms of brightness are what is solved for: in every channel a polynomial of sixth order over the frame and for every
/// frame a gain, so that what two frames show of the same place is equally bright in both. Overlaps see only how the light changes
/// from one place of a frame to another one that the scan's steps lead to; the robust mean of all frames, which counts as much
/// as it is certain, tells the rest.
LightSolution solveLight(const LightEvidence& evidence, bool wantField, bool wantGains);

/// The field that a picture of even light shows, for instance one of an empty slide. Throws std::invalid_argument when
/// size or channels do not fit the frames.
FlatField fieldFrom(const cv::Mat& evenLight, cv::Size frameSize, std::int32_t channels);

/// Takes a field with a value for each pixel out of the evidence, so that the rest can be solved for.
void takeOut(const FlatField& field, LightEvidence& evidence);

}  // namespace brantel::render
