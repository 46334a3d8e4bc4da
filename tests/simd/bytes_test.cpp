// The loops over bytes, each against the same thing written out.
#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "common/tuning.h"
#include "reference/filters.h"
#include "reference/image_ops.h"
#include "reference/weights.h"
#include "support/at_level.h"
#include "support/rows.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class ByteLoops : public AtLevel {
  protected:
    const simd::Kernels& kernels() const { return simd::kernels(); }
    const simd::SumKernels& sums() const { return simd::sumKernels(); }
};

TEST_P(ByteLoops, GreyRow) {
    forAllRows([&](std::int64_t pixels, Contents contents, const Place& place, std::uint64_t seed) {
        const auto in = placed(bytesOf(contents, 3 * pixels, seed), place);
        GuardedBuffer<std::uint8_t> out(pixels, place.guard, place.off);
        kernels().greyRow(in->data(), pixels, out.data());
        Bytes expected(pixels);
        reference::rgb2gray(toOutput(), in->data(), 1, static_cast<std::int32_t>(pixels), expected.data());
        ASSERT_EQ(valuesOf(out), expected);
        ASSERT_TRUE(out.intact());
    });
}

TEST_P(ByteLoops, HalveRowReadsNothingBehindItsLastPixel) {
    forAllRows([&](std::int64_t pixels, Contents contents, const Place& place, std::uint64_t seed) {
        const auto in = placed(bytesOf(contents, 2 * pixels - 1, seed), place);
        GuardedBuffer<std::uint8_t> out(pixels, place.guard, place.off);
        kernels().halveRow(in->data(), pixels, out.data());
        Bytes expected;
        for (std::int64_t i = 0; i < pixels; ++i) expected.push_back((*in)[2 * i]);
        ASSERT_EQ(valuesOf(out), expected);
        ASSERT_TRUE(out.intact());
    });
}

TEST_P(ByteLoops, Smooth5) {
    forAllRows([&](std::int64_t count, Contents contents, const Place& place, std::uint64_t seed) {
        std::unique_ptr<GuardedBuffer<std::uint8_t>> rows[5];
        const std::uint8_t* taps[5];
        for (int t = 0; t < 5; ++t) {
            rows[t] = placed(bytesOf(contents, count, 5 * seed + t), place);
            taps[t] = rows[t]->data();
        }
        GuardedBuffer<std::uint8_t> out(count, place.guard, place.off);
        kernels().smooth5(taps, smoothingKernel, count, out.data());
        Bytes image;
        for (const auto& row : rows) image.insert(image.end(), row->begin(), row->end());
        Bytes filtered(image.size());
        reference::filterColumn5u8(toOutput(), image.data(), 5, static_cast<std::int32_t>(count),
                                   filtered.data());
        const Bytes expected(filtered.begin() + 2 * count, filtered.begin() + 3 * count);
        ASSERT_EQ(valuesOf(out), expected);
        ASSERT_TRUE(out.intact());
    });
}

TEST_P(ByteLoops, Smooth5OfOneRowWithNeighbouringTaps) {
    for (const std::int64_t count : rowLengths()) {
        const auto in = placed(randomBytes(count + 4, count), places[count % 6]);
        const std::uint8_t* taps[5];
        for (int t = 0; t < 5; ++t) taps[t] = in->data() + t;
        GuardedBuffer<std::uint8_t> out(count);
        kernels().smooth5(taps, smoothingKernel, count, out.data());
        Bytes expected(in->begin(), in->end());
        reference::filterRow5u8(toOutput(), in->data(), 1, static_cast<std::int32_t>(count) + 4,
                                expected.data());
        ASSERT_EQ(valuesOf(out), Bytes(expected.begin() + 2, expected.end() - 2)) << count;
    }
}

TEST_P(ByteLoops, AbsoluteDifferences) {
    forAllRows([&](std::int64_t count, Contents contents, const Place& place, std::uint64_t seed) {
        const auto a = placed(bytesOf(contents, count, seed), place);
        const auto b = placed(bytesOf(allContents[seed % 5], count, seed + 1), place);
        std::int64_t expected = 0;
        for (std::int64_t i = 0; i < count; ++i) expected += std::abs((*a)[i] - (*b)[i]);
        ASSERT_EQ(kernels().absoluteDifferences(a->data(), b->data(), count), expected);
    });
}

TEST_P(ByteLoops, AbsoluteDifferencesOfManyBytesDoNotOverflow) {
    const std::int64_t count = 17'000'003;  // times 255 it is more than 32 bits hold
    const Bytes white(count, 255);
    const Bytes black(count, 0);
    EXPECT_EQ(kernels().absoluteDifferences(white.data(), black.data(), count), 255 * count);
    EXPECT_EQ(kernels().absoluteDifferences(black.data(), white.data(), count), 255 * count);
    EXPECT_EQ(kernels().absoluteDifferences(black.data(), white.data(), 0), 0);
}

TEST_P(ByteLoops, OccupancyRow) {
    for (const std::int32_t channels : {1, 3})
        forAllRows([&](std::int64_t pixels, Contents contents, const Place& place, std::uint64_t seed) {
            const auto in = placed(bytesOf(contents, channels * pixels, seed), place);
            GuardedBuffer<std::uint8_t> out(pixels, place.guard, place.off);
            const bool anyEmpty = kernels().occupancyRow(in->data(), pixels, channels, out.data());
            std::vector<float> mask(pixels);
            reference::occupancyMask(toOutput(), in->data(), 1, static_cast<std::int32_t>(pixels), channels,
                                     mask.data());
            ASSERT_EQ(valuesOf(out), Bytes(mask.begin(), mask.end()));
            ASSERT_EQ(anyEmpty, std::find(mask.begin(), mask.end(), 0.0F) != mask.end());
            ASSERT_TRUE(out.intact());
        });
}

TEST_P(ByteLoops, FuseRow) {
    for (const std::int32_t channels : {1, 3})
        forAllRows([&](std::int64_t pixels, Contents contents, const Place& place, std::uint64_t seed) {
            const auto frame = placed(bytesOf(contents, channels * pixels, seed), place);
            const auto weights = placed(bytesOf(allContents[seed % 5], pixels, seed + 1), place);
            const auto canvas = placed(randomBytes(channels * pixels, seed + 2), place);
            Bytes expected = valuesOf(*frame);  // the reference writes where the frame was
            reference::fuseImages(canvas->data(), weights->data(), pixels, channels, expected.data());
            kernels().fuseRow(frame->data(), weights->data(), pixels, channels, canvas->data());
            ASSERT_EQ(valuesOf(*canvas), expected);
            ASSERT_TRUE(canvas->intact());
        });
}

TEST_P(ByteLoops, SumOfBytes) {
    forAllRows([&](std::int64_t count, Contents contents, const Place& place, std::uint64_t seed) {
        const auto in = placed(bytesOf(contents, count, seed), place);
        ASSERT_EQ(sums().sumOfBytes(in->data(), count),
                  std::accumulate(in->begin(), in->end(), std::int64_t{0}));
    });
    const Bytes white(20000000, 255);  // more than 32 bits
    EXPECT_EQ(sums().sumOfBytes(white.data(), 20000000), 5100000000);
}

TEST_P(ByteLoops, KeepGreater) {
    forAllRows([&](std::int64_t count, Contents contents, const Place& place, std::uint64_t seed) {
        const auto in = placed(bytesOf(contents, count, seed), place);
        for (const int level : {0, 1, 10, 254, 255}) {
            GuardedBuffer<std::uint8_t> out(count, place.guard, place.off);
            Bytes expected = valuesOf(*in);
            std::int64_t greater = 0;
            for (std::uint8_t& value : expected) {
                greater += value > level ? 1 : 0;
                if (value <= level) value = 0;
            }
            ASSERT_EQ(sums().keepGreater(in->data(), count, static_cast<std::uint8_t>(level), out.data()),
                      greater);
            ASSERT_EQ(valuesOf(out), expected);
            ASSERT_TRUE(out.intact());
        }
    });
}

/// Adds bytes to parity * 2^spacingBits, counting in steps of 2^spacingBits, ties to even.
std::int64_t stepsInOrder(const Bytes& bytes, std::int32_t spacingBits, std::int64_t parity) {
    const std::int64_t spacing = std::int64_t{1} << spacingBits;
    std::int64_t sum = parity;
    for (const std::uint8_t value : bytes) {
        const std::int64_t rest = value % spacing;
        sum += value / spacing;
        if (2 * rest > spacing || (2 * rest == spacing && sum % 2 != 0)) ++sum;
    }
    return sum - parity;
}

TEST_P(ByteLoops, RoundedSteps) {
    Random random(3);
    for (std::int32_t spacingBits = 1; spacingBits <= 8; ++spacingBits)
        for (std::int64_t parity : {0, 1})
            for (std::uint64_t seed = 1; seed <= 200; ++seed)
                for (const int kind : {0, 1, 2}) {
                    const auto blocks = static_cast<std::int64_t>(seed % 5);
                    Bytes values = bytesOf(allContents[kind == 0 ? seed % 6 : 0], 64 * blocks, seed);
                    const int half = 1 << (spacingBits - 1);
                    for (auto& value : values) {  // ties only, ties and near-ties
                        if (kind == 1) value = static_cast<std::uint8_t>((value & ~(2 * half - 1)) | half);
                        if (kind == 2)
                            value = static_cast<std::uint8_t>((value & ~(2 * half - 1)) + half +
                                                              random.between(-1, 1));
                    }
                    const Place& place = places[seed % 6];
                    const auto bytes = placed(values, place);
                    ASSERT_EQ(sums().roundedSteps(bytes->data(), blocks, spacingBits, parity),
                              stepsInOrder(values, spacingBits, parity))
                        << spacingBits << " bits, parity " << parity << ", seed " << seed << ", kind "
                        << kind;
                }
}

BRANTEL_AT_EVERY_LEVEL(ByteLoops);

}  // namespace
}  // namespace brantel::test
