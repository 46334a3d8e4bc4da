// The launches that kernels are tested with.
#pragma once

#include <utility>
#include <vector>

#include "gpu/launch.h"

namespace gpu_test {

/// One launch of every kernel (and variants: in place, several borders and factors) on random images of a
/// size. Buffers are as long as the kernel may touch and start with random contents. Kernels that need a
/// larger image are left out.
std::vector<Launch> randomLaunches(int rows, int cols, unsigned seed);

/// (rows, columns): single pixels, lines, odd and not square, around one block.
std::vector<std::pair<int, int>> testSizes();

/// A launch with the contents of its buffers afterwards, worked out by hand.
struct KnownLaunch {
    const char* what;
    Launch launch;
    std::vector<Contents> after;
};
std::vector<KnownLaunch> knownLaunches();

}  // namespace gpu_test
