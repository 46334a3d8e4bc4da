#include "cpu/feature_job.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/crew.h"
#include "compose/regions.h"
#include "registration/register_frames.h"
#include "simd/level.h"

namespace brantel {

namespace {

/// |shift|, at most length.
std::int32_t magnitude(std::int32_t shift, std::int32_t length) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(std::llabs(shift), length));
}

void detectInOverlap(FeatureSide& side, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                     const ExpectedShift& expected, const CornerTuning& tuning, const DetectionHelp* help) {
    const ExpectedOverlap part = expectedOverlap(side.role, expected, rows, cols);
    side.crop.ensure(std::int64_t{rows} * cols);
    ImageDesc crop{0, 1, part.rowEnd - part.rowStart, part.colEnd - part.colStart};
    cropImageRegion(grey, {part.rowStart, part.rowEnd, part.colStart, part.colEnd}, rows, cols, 1, &crop,
                    side.crop.data());
    findHarrisCornerCoordianteFun(side.crop.data(), crop, tuning, side.images, side.features.corners, help);
    for (CornerPoint& corner : side.features.corners) {
        corner.x += part.colStart;
        corner.y += part.rowStart;
    }
}

}  // namespace

ExpectedOverlap expectedOverlap(FrameRole role, const ExpectedShift& shift, std::int32_t rows,
                                std::int32_t cols) {
    const std::int32_t dx = magnitude(shift.x, cols);
    const std::int32_t dy = magnitude(shift.y, rows);
    const bool previous = role == FrameRole::previous;
    const bool rightColumns = (shift.x >= 0) == previous;
    const bool bottomRows = ((shift.x < 0) == (shift.y < 0)) == previous;
    return {bottomRows ? dy : 0, bottomRows ? rows : rows - dy, rightColumns ? dx : 0,
            rightColumns ? cols : cols - dx};
}

void makeGrey(const std::uint8_t* frame, const ImageDesc& record, Buffer<std::uint8_t>& grey,
              WorkerPair* workers) {
    constexpr std::int64_t rowGrain = 32;  // rows handed out at a time
    const std::int64_t cols = record.cols;
    grey.ensure(record.pixels() + cols);
    if (record.channels == 3) {
        const auto greyRow = simd::kernels().greyRow;
        shareLoop(workers, record.rows, rowGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
            greyRow(frame + 3 * first * cols, (last - first) * cols, grey.data() + first * cols);
        });
    } else {
        std::memcpy(grey.data(), frame, static_cast<std::size_t>(record.pixels()));
    }
    std::memset(grey.data() + record.pixels(), 0, static_cast<std::size_t>(cols));
}

void describeGrey(FeatureSide& side, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                  const ExpectedShift& expected, const CornerTuning& tuning, const DetectionHelp* help) {
    if (expected.use) {
        detectInOverlap(side, grey, rows, cols, expected, tuning, help);
    } else {
        findHarrisCornerCoordianteFun(grey, {0, 1, rows, cols}, tuning, side.images, side.features.corners,
                                      help);
    }
    describeCorners(side.features, grey, rows, cols, side.scratch, help == nullptr ? nullptr : help->workers);
}

}  // namespace brantel
