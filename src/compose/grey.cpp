#include "compose/grey.h"

#include <cstring>

#include "common/parallel_for.h"
#include "simd/level.h"

namespace brantel {

void makeGrey(const std::uint8_t* frame, const ImageDesc& desc, Buffer<std::uint8_t>& grey,
              WorkerPair* workers) {
    constexpr std::int64_t rowGrain = 32;  // rows handed out at a time
    const std::int64_t cols = desc.cols;
    grey.ensure(desc.pixels() + cols);
    if (desc.channels == 3) {
        const auto greyRow = simd::kernels().greyRow;
        parallelFor(workers, desc.rows, rowGrain, [&](std::int64_t first, std::int64_t last, std::int32_t) {
            greyRow(frame + 3 * first * cols, (last - first) * cols, grey.data() + first * cols);
        });
    } else {
        std::memcpy(grey.data(), frame, static_cast<std::size_t>(desc.pixels()));
    }
    std::memset(grey.data() + desc.pixels(), 0, static_cast<std::size_t>(cols));
}

}  // namespace brantel
