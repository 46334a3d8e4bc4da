// A picture of its own making, for scans where no photograph is at hand.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>

namespace brantel::programs {

/// A colour picture that resembles a rock section between crossed polarisers: coloured grains with cleavage,
/// inclusions and fine texture. The same size and seed give the same bytes on every platform.
cv::Mat generatePicture(cv::Size size, std::uint32_t seed);

}  // namespace brantel::programs
