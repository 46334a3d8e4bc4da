// Plain twins of cpu/image_ops.h, documented there.
#pragma once

#include <cstdint>

namespace brantel::plain {

/// The grey value, its division as written.
constexpr std::uint8_t greyOf(unsigned blue, unsigned green, unsigned red) {
    return static_cast<std::uint8_t>((blue * 114U + green * 587U + red * 299U + 500U) / 1000U);
}

bool rgb2gray(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* grey);

bool findGradSquareCrossTerms(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols, float* xx,
                              float* yy, float* xy);

bool padReflect101(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                   std::uint8_t* destination, std::uint8_t* destination2);

bool smooth3x3(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::uint8_t* destination);

bool filterColumn5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                     std::uint8_t* destination);
bool filterRow5u8(const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                  std::uint8_t* destination);

bool cropBorder(const std::uint8_t* source, std::int32_t rows, std::int32_t cols, std::int32_t border,
                std::uint8_t* destination);

void smoothGrey(std::uint8_t* grey, std::int32_t rows, std::int32_t cols, std::uint8_t* paddedA,
                std::uint8_t* paddedB);

std::int64_t meanAbsoluteDifference(const std::uint8_t* a, const std::uint8_t* b, std::int64_t pixels);

}  // namespace brantel::plain
