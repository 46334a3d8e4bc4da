// One of the two frames of a registration, with its own kernels, buffers and results; the sides share
// nothing.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "common/types.h"
#include "common/worker_pair.h"
#include "opencl/tables.h"
#include "registration/consensus.h"

namespace brantel {

/// What one worker runs and where.
struct SideParts {
    ClKernel grey;
    ClKernel downscale;
    ClKernel gradients;
    ClKernel borderRow;
    ClKernel borderCol;
    ClKernel filterRow;
    ClKernel filterCol;
    ClKernel takeOutBound;
    ClKernel rowRange;
    ClBuffer greyImage;
    ClBuffer halfImage;
    ClBuffer xx;
    ClBuffer yy;
    ClBuffer xy;
    ClBuffer filterTemp;
    ClBuffer filterTemp2;
    ClBuffer rowRangeImage;
    const char* rowRangeLine;   // debug line of the row-range path with a frame that is grey already, or null
    const char* noCornersLine;  // stream
};

extern const SideParts modelParts;
extern const SideParts matchParts;

struct ClFeatureSide {
    const SideParts* parts;
    FrameFeatures features;
    Buffer<std::uint8_t> grey;  // rows x cols and a zeroed row behind it, which descriptors read
    Buffer<float> xx;
    Buffer<float> yy;
    Buffer<float> xy;
    Buffer<float> response;
    std::vector<std::uint16_t> scratch;

    explicit ClFeatureSide(const SideParts& p) : parts(&p) {}
    void reset() { *this = ClFeatureSide(*parts); }
};

/// One worker's pass over a packed frame: fills side.features. False when a device step failed; where the
/// frame could not even be made grey, the thread ends with the pass.
bool runFeaturePass(OpenclJoint& cl, ClFeatureSide& side, Worker& thread, std::uint8_t* frame,
                    const ImageDesc& record);

/// Finds the corners of a grey image on the device at half its size. False when a device step failed; an
/// image without corners is no failure.
bool cornerStage(OpenclJoint& cl, ClFeatureSide& side, cl_mem grey);

/// The same on the strip that the other frame overlaps under the displacement of the stitch call.
bool rowRangeStage(OpenclJoint& cl, ClFeatureSide& side, cl_mem grey, const ImageDesc& record);

}  // namespace brantel
