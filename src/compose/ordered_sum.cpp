#include "compose/ordered_sum.h"

#include <algorithm>
#include <cstring>

#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int64_t block = 64;
constexpr std::int64_t exactBelow = std::int64_t{1} << 24;  // whole numbers that single precision holds
constexpr std::int32_t widestSpacing = 8;                   // bits; beyond it bytes are small change

}  // namespace

template <class Take>
void OrderedSum::collect(std::int64_t count, Take&& take) {
    for (std::int64_t done = 0; done < count;) {
        const std::int64_t length = std::min(count - done, room - collected_);
        take(done, length, values_ + collected_);
        done += length;
        collected_ += length;
        if (collected_ == room) addCollected();
    }
}

void OrderedSum::addEverySecond(const std::uint8_t* bytes, std::int64_t count) {
    collect(count, [&](std::int64_t done, std::int64_t length, std::uint8_t* out) {
        simd::kernels().halveRow(bytes + 2 * done, length, out);
        count_ += length;
    });
}

void OrderedSum::addGreater(const std::uint8_t* bytes, std::int64_t count, std::uint8_t level) {
    collect(count, [&](std::int64_t done, std::int64_t length, std::uint8_t* out) {
        count_ += simd::sumKernels().keepGreater(bytes + done, length, level, out);
    });
}

float OrderedSum::mean() {
    addCollected();
    return sum_ / static_cast<float>(count_);
}

void OrderedSum::addCollected() {
    static_assert(room % block == 0, "the padding fits");
    const std::int64_t blocks = (collected_ + block - 1) / block;
    std::memset(values_ + collected_, 0,
                static_cast<std::size_t>(blocks * block - collected_));  // adds nothing
    for (std::int64_t done = 0; done < blocks;) {
        const std::int64_t added = addBlocks(values_ + done * block, blocks - done);
        if (added == 0) addOneByOne(values_ + done * block, block);
        done += std::max<std::int64_t>(added, 1);
    }
    collected_ = 0;
}

/// Adds as many of the blocks as surely leave the distance between floats as it is, and returns their number.
std::int64_t OrderedSum::addBlocks(const std::uint8_t* values, std::int64_t blocks) {
    constexpr std::int64_t largest = block * 256;  // a byte, rounded to a multiple of the spacing
    const auto whole = static_cast<std::int64_t>(sum_);
    if (whole < exactBelow) {
        const std::int64_t count = std::min(blocks, (exactBelow - whole) / largest);
        sum_ += static_cast<float>(simd::sumKernels().sumOfBytes(values, count * block));
        return count;
    }
    std::int32_t exponent = 24;
    while ((whole >> exponent) > 1) ++exponent;  // 2^exponent <= sum < 2^(exponent + 1)
    const std::int32_t spacingBits = exponent - 23;
    if (spacingBits > widestSpacing) return 0;
    const std::int64_t count = std::min(blocks, ((std::int64_t{2} << exponent) - whole - 1) / largest);
    const std::int64_t parity = (whole >> spacingBits) & 1;
    const std::int64_t steps = simd::sumKernels().roundedSteps(values, count, spacingBits, parity);
    sum_ = static_cast<float>(whole + (steps << spacingBits));
    return count;
}

void OrderedSum::addOneByOne(const std::uint8_t* values, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) sum_ += static_cast<float>(values[i]);
}

}  // namespace brantel
