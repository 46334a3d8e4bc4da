// Sums that add 64 bytes at once against one accumulator that adds byte after byte, and the motion measure.
#include <algorithm>
#include <cstring>

#include "compose/judgement.h"
#include "compose/ordered_sum.h"
#include "cpu/motion.h"
#include "plain/image_ops.h"
#include "plain/judgement.h"
#include "simd/at_level.h"
#include "simd/crew.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// The sum as it is defined.
struct PlainSum {
    float sum = 0;
    std::int64_t count = 0;

    void add(std::uint8_t value) {
        sum += static_cast<float>(value);
        ++count;
    }
    float mean() const { return sum / static_cast<float>(count); }
};

class Sums : public AtLevel {
  protected:
    void addEverySecond(const Bytes& bytes, std::int64_t samples) {
        sum_.addEverySecond(bytes.data(), samples);
        for (std::int64_t i = 0; i < samples; ++i) plain_.add(bytes[2 * i]);
    }
    void addGreater(const Bytes& bytes, std::uint8_t level) {
        sum_.addGreater(bytes.data(), static_cast<std::int64_t>(bytes.size()), level);
        for (const std::uint8_t value : bytes)
            if (value > level) plain_.add(value);
    }
    bool same() { return bitsOf(sum_.mean()) == bitsOf(plain_.mean()); }

    OrderedSum sum_;
    PlainSum plain_;
};

TEST_P(Sums, RoundLikeOneAccumulatorUpTo33Bits) {
    // compared at every 2^12 samples while the sum passes 2^24, 2^25 ... and beyond 2^32 stands still
    for (const int kind : {0, 1, 2, 3}) {
        sum_ = {};
        plain_ = {};
        Random random(kind + 1);
        Bytes bytes(1 << 13);
        for (int round = 0; round < (kind == 0 ? 6000 : 1500); ++round) {
            for (std::uint8_t& value : bytes) {
                value = random.byte();
                if (kind == 0) value |= 128;
                if (kind == 1) value = round % 3 == 0 ? 255 : 129;
                if (kind == 2) value = static_cast<std::uint8_t>(1U << (value % 8));  // ties at every spacing
                if (kind == 3 && value < 200) value = 0;
            }
            if (round % 2 == 0) {
                addEverySecond(bytes, (1 << 12) - round % 70);
            } else {
                bytes.resize((1 << 13) - round % 131);
                addGreater(bytes, static_cast<std::uint8_t>(round % 30));
                bytes.resize(1 << 13);
            }
            ASSERT_TRUE(same()) << "contents " << kind << ", round " << round << ", sum " << plain_.sum;
        }
        const float reached[4] = {4294967296.0F, 536870912.0F, 67108864.0F, 67108864.0F};
        EXPECT_GE(plain_.sum, reached[kind]);
    }
}

TEST_P(Sums, OfConstantsStandStillWhereTheyAreBelowHalfTheSpacing) {
    for (const std::uint8_t value : {1, 2, 3, 127, 128, 254, 255}) {
        sum_ = {};
        plain_ = {};
        const Bytes white(1 << 18, 255);
        const Bytes constant(3001, value);
        for (int i = 0; i < 20; ++i) {
            addGreater(white, 0);
            addGreater(constant, 0);
            ASSERT_TRUE(same()) << "value " << int{value} << ", round " << i;
        }
    }
}

TEST_P(Sums, OfAllLengths) {
    for (std::int64_t count = 0; count <= 200; ++count)
        for (int start = 0; start < 5; ++start) {
            sum_ = {};
            plain_ = {};
            addGreater(Bytes(std::int64_t{start} * 30011, 255), 0);  // below 2^24 and around 2^24 to 2^25
            addGreater(Bytes(start == 4 ? 5771 : 0, 255), 0);
            addEverySecond(randomBytes(2 * count, count + 1), count);
            addGreater(randomBytes(count, count + 2), 10);
            ASSERT_TRUE(same()) << count << " samples, start " << start;
        }
}

GreyPart partOf(GuardedBuffer<std::uint8_t>& pixels, std::int64_t stride, std::int32_t rows,
                std::int32_t cols) {
    return {pixels.data(), stride, rows, cols};
}

TEST_P(Sums, MeasuresOfPartsAreThoseOfTheirCopies) {
    std::uint64_t seed = 1;
    for (const std::int32_t rows : {0, 1, 2, 4, 5, 6, 7, 31, 64})
        for (const std::int32_t cols : {0, 1, 3, 4, 5, 6, 63, 64, 65, 130, 131, 133, 259})
            for (const std::int64_t slack : {0, 1, 77})
                for (const Contents contents : allContents) {
                    const std::int64_t stride = cols + slack;
                    const std::int64_t size = rows > 0 ? (rows - 1) * stride + cols : 0;
                    const Bytes bytes = bytesOf(contents, size, seed++);
                    Bytes packed;
                    for (std::int64_t r = 0; r < rows; ++r)
                        packed.insert(packed.end(), bytes.begin() + r * stride,
                                      bytes.begin() + r * stride + cols);
                    const auto pixels = placed(bytes, places[seed % 6]);
                    const GreyPart part = partOf(*pixels, stride, rows, cols);
                    // NaN where there is no sample, with whichever sign the division gives it
                    const float means[2] = {meanGrey(part), plain::meanGrey(packed.data(), rows, cols)};
                    const float brights[2] = {meanOfBright(part),
                                              plain::meanOfBright(packed.data(), std::int64_t{rows} * cols)};
                    ASSERT_EQ(bitsOf(means[0]), bitsOf(means[1])) << rows << " x " << cols;
                    ASSERT_EQ(bitsOf(brights[0]), bitsOf(brights[1])) << rows << " x " << cols;
                }
}

TEST_P(Sums, MeasuresOfLargePartsCrossTheLimitOfWholeNumbers) {
    const std::int32_t rows = 900;
    const std::int32_t cols = 1201;
    for (const std::uint64_t seed : {1, 2, 3}) {
        Bytes bytes = randomBytes(std::int64_t{rows} * cols, seed);
        if (seed == 2)
            for (std::uint8_t& value : bytes) value |= 0xF0;
        const Bytes constant(bytes.size(), 251);
        for (const Bytes& image : {bytes, constant}) {
            EXPECT_EQ(meanGrey(image.data(), rows, cols), plain::meanGrey(image.data(), rows, cols));
            EXPECT_EQ(meanOfBright(image.data(), std::int64_t{rows} * cols),
                      plain::meanOfBright(image.data(), std::int64_t{rows} * cols));
        }
    }
}

Bytes plainSmoothed(const Bytes& grey, std::int32_t rows, std::int32_t cols) {
    Bytes smoothed = grey;
    Bytes paddedA((rows + 4) * (cols + 4));
    Bytes paddedB(paddedA.size());
    plain::smoothGrey(smoothed.data(), rows, cols, paddedA.data(), paddedB.data());
    return smoothed;
}

class Motion : public AtLevel {};

TEST_P(Motion, SmoothingIsThePlainOne) {
    Crew crew;
    std::uint64_t seed = 1;
    Buffer<std::uint8_t> scratch;
    for (const std::int32_t rows : {1, 2, 3, 4, 5, 6, 33, 70})
        for (const std::int32_t cols : {1, 2, 3, 4, 5, 6, 15, 16, 17, 63, 64, 65, 100, 131})
            for (const Contents contents : allContents) {
                const Bytes bytes = bytesOf(contents, std::int64_t{rows} * cols, seed++);
                const Place& place = places[seed % 6];
                const auto grey = placed(bytes, place);
                GuardedBuffer<std::uint8_t> smoothed(bytes.size(), place.guard, place.off);
                smoothGreyInto(grey->data(), rows, cols, smoothed.data(), scratch,
                               seed % 2 == 0 ? crew.workers() : nullptr);
                ASSERT_EQ(valuesOf(smoothed), plainSmoothed(bytes, rows, cols)) << rows << " x " << cols;
                ASSERT_TRUE(smoothed.intact());
            }
}

TEST_P(Motion, MeasuresAlongASequenceAreThePlainOnes) {
    Crew crew;
    for (const auto& [rows, cols] : {std::pair{1, 1}, {2, 40}, {3, 3}, {61, 90}, {97, 131}}) {
        const std::int64_t pixels = std::int64_t{rows} * cols;
        MotionReference motion;
        Bytes lastSeen;
        Random random(rows);
        for (int i = 0; i < 14; ++i) {
            WorkerPair* workers = i % 2 == 0 ? crew.workers() : nullptr;
            const Bytes grey = bytesOf(i % 4 == 3 ? Contents::white : Contents::random, pixels, 100 + i);
            const bool first = i == 0 || i == 9;  // a new mosaic measures against its own first frame
            if (first) lastSeen = bytesOf(Contents::random, pixels, 200 + i);
            const std::int64_t measured =
                motion.measure(first ? lastSeen.data() : nullptr, grey.data(), rows, cols, workers);
            EXPECT_EQ(measured, plain::meanAbsoluteDifference(plainSmoothed(lastSeen, rows, cols).data(),
                                                              plainSmoothed(grey, rows, cols).data(), pixels))
                << rows << " x " << cols << ", frame " << i;
            if (first || random.between(0, 3) > 0) {
                motion.accept();
                lastSeen = grey;
            }
            if (i == 5) {  // one that was not measured
                lastSeen = bytesOf(Contents::random, pixels, 300);
                motion.setGrey(lastSeen.data(), pixels);
            }
        }
    }
}

BRANTEL_AT_EVERY_LEVEL(Sums);
BRANTEL_AT_EVERY_LEVEL(Motion);

}  // namespace
}  // namespace brantel::test
