#include "compose/ordered_sum.h"

#include <algorithm>

#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int64_t block = 64;

}  // namespace

void OrderedSum::addEverySecond(const std::uint8_t* bytes, std::int64_t count) {
    std::uint8_t values[block];
    for (std::int64_t first = 0; first < count; first += block) {
        const std::int64_t length = std::min(block, count - first);
        for (std::int64_t i = 0; i < length; ++i) values[i] = bytes[2 * (first + i)];
        addBlock(values, length);
    }
    count_ += std::max<std::int64_t>(count, 0);
}

void OrderedSum::addGreater(const std::uint8_t* bytes, std::int64_t count, std::uint8_t level) {
    std::uint8_t values[block];
    for (std::int64_t first = 0; first < count; first += block) {
        const std::int64_t length = std::min(block, count - first);
        std::int32_t greater = 0;
        for (std::int64_t i = 0; i < length; ++i) {
            const bool counts = bytes[first + i] > level;
            values[i] = counts ? bytes[first + i] : 0;  // adding 0 changes nothing
            greater += counts ? 1 : 0;
        }
        addBlock(values, length);
        count_ += greater;
    }
}

void OrderedSum::addBlock(std::uint8_t* values, std::int64_t count) {
    std::fill(values + count, values + block, std::uint8_t{0});
    // The spacing of floats changes at powers of 2: a block that might reach the next one is added one by
    // one.
    constexpr std::int64_t largest = block * 255;
    if (sum_ < static_cast<float>((std::int64_t{1} << 24) - largest)) {
        std::int32_t total = 0;
        for (std::int64_t i = 0; i < block; ++i) total += values[i];
        sum_ += static_cast<float>(total);
        return;
    }
    const auto whole = static_cast<std::int64_t>(sum_);
    std::int32_t exponent = 24;
    while ((whole >> exponent) > 1) ++exponent;  // 2^exponent <= sum < 2^(exponent + 1)
    const std::int32_t spacingBits = exponent - 23;
    const bool sameSpacing =
        whole >= (std::int64_t{1} << 24) && whole + 2 * largest < (std::int64_t{2} << exponent);
    if (!sameSpacing || spacingBits > 8) return addOneByOne(values, count);
    const std::int64_t parity = (whole >> spacingBits) & 1;
    sum_ = static_cast<float>(whole +
                              (simd::kernels().roundedSteps(values, spacingBits, parity) << spacingBits));
}

void OrderedSum::addOneByOne(const std::uint8_t* values, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) sum_ += static_cast<float>(values[i]);
}

}  // namespace brantel
