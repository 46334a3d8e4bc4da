// Harris corner detection of one grey frame on the processor.
#pragma once

#include <cstdint>
#include <vector>

#include "common/arena.h"
#include "common/buffer.h"
#include "common/log.h"
#include "common/tuning.h"
#include "common/types.h"
#include "common/worker_pair.h"
#include "registration/harris.h"

namespace brantel {

/// What the rows of one band of a frame pass through, and the maxima found in it.
struct HarrisBand {
    Buffer<float> products;  // the last five rows of xx, yy, xy and one vertically filtered row of each
    Buffer<float> response;  // the last three rows
    CornerSelection selection;

    void ensure(std::int64_t cols);
};

/// Working memory of one detection; every frame side owns a set, so that the two workers share nothing.
struct HarrisImages {
    Buffer<std::uint8_t> grey;  // at working size
    HarrisBand upper;           // or all of the frame
    HarrisBand lower;
};

/// For a detection that is the only thing to be done: workers that would be idle, and memory for half of the
/// responses.
struct DetectionHelp {
    WorkerPair* workers;
    Arena<Buffer<float>>* arena;
};

/// Appends up to the corner budget's number of corners, in the frame's full-size coordinates. The working
/// size is the frame's rows and columns divided by the working scale, also when the frame is a crop. 1 on
/// success, 0 when there is no corner (with lines that say why). help may be null.
///
/// Gradient products, both filters and the response run row by row through the cache. Only rows and columns
/// inside the corner border are computed, which the reflected edges never reach.
std::int32_t findHarrisCornerCoordianteFun(const Log& log, const std::uint8_t* frame, const ImageDesc& desc,
                                           const CornerTuning& tuning, HarrisImages& images,
                                           std::vector<CornerPoint>& corners, const DetectionHelp* help);

}  // namespace brantel
