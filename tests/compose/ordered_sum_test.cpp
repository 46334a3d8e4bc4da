// A sum in one float keeps every rounding of the written order, however fast it is taken.
#include "compose/ordered_sum.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/at_level.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The sum as it is defined.
struct PlainSum {
    float sum = 0;
    std::int64_t count = 0;

    void add(std::uint8_t sample) {
        sum += static_cast<float>(sample);
        ++count;
    }
    float mean() const { return sum / static_cast<float>(count); }
};

class OrderedSums : public AtLevel {
  protected:
    void start() {
        sum_ = {};
        plain_ = {};
    }
    void addEverySecond(const Bytes& bytes, std::int64_t samples) {
        sum_.addEverySecond(placed(bytes, places[0])->data(), samples);
        for (std::int64_t i = 0; i < samples; ++i) plain_.add(bytes[2 * i]);
    }
    void addGreater(const Bytes& bytes, std::uint8_t level) {
        sum_.addGreater(placed(bytes, places[0])->data(), static_cast<std::int64_t>(bytes.size()), level);
        for (const std::uint8_t value : bytes)
            if (value > level) plain_.add(value);
    }
    bool same() {
        const float means[] = {sum_.mean(), plain_.mean()};
        return std::memcmp(&means[0], &means[1], sizeof(float)) == 0;
    }

    OrderedSum sum_;
    PlainSum plain_;
};

TEST_P(OrderedSums, RoundLikeOneAccumulatorUpTo33Bits) {
    // compared at every 2^12 samples while the sum passes 2^24, 2^25 ... and beyond 2^32 stands still
    for (const int kind : {0, 1, 2, 3}) {
        start();
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

TEST_P(OrderedSums, OfMillionsOfSamplesInPiecesOfAnySize) {
    const Bytes bytes = randomBytes(4000000, 1);  // half a gigabyte of brightness
    for (const std::size_t piece : {4000000, 777, 64}) {
        start();
        for (std::size_t from = 0; from < bytes.size(); from += piece)
            addGreater({bytes.begin() + from, bytes.begin() + std::min(from + piece, bytes.size())}, 10);
        EXPECT_TRUE(same()) << "pieces of " << piece;
    }
}

TEST_P(OrderedSums, OfConstantsStandStillWhereTheyAreBelowHalfTheSpacing) {
    for (const std::uint8_t value : {1, 2, 3, 11, 64, 127, 128, 129, 254, 255}) {
        start();
        const Bytes white(1 << 18, 255);
        const Bytes constant(3001, value);
        for (int i = 0; i < 20; ++i) {
            addGreater(white, 0);
            addGreater(constant, 0);
            ASSERT_TRUE(same()) << "value " << int{value} << ", round " << i;
        }
    }
}

TEST_P(OrderedSums, OfAllLengths) {
    for (std::int64_t count = 0; count <= 300; ++count)
        for (int fill = 0; fill < 5; ++fill) {
            start();
            addGreater(Bytes(std::int64_t{fill} * 30011, 255), 0);  // below 2^24 and around 2^24 to 2^25
            addGreater(Bytes(fill == 4 ? 5771 : 0, 255), 0);
            addEverySecond(randomBytes(2 * count, count + 1), count);
            addGreater(randomBytes(count, count + 2), 10);
            ASSERT_TRUE(same()) << count << " samples, fill " << fill;
        }
}

BRANTEL_AT_EVERY_LEVEL(OrderedSums);

TEST(OrderedSum, LosesWhatIsBelowHalfTheSpacing) {
    // 2^24 of it, and then ones: each is half of the spacing and goes to the even neighbour, which is back
    OrderedSum sum;
    const Bytes whites(65793, 255);  // 16,777,215
    const Bytes ones(1001, 1);
    sum.addGreater(whites.data(), 65793, 0);
    sum.addGreater(ones.data(), 1001, 0);
    EXPECT_EQ(sum.mean(), 16777216.0F / 66794.0F);
}

TEST(OrderedSum, WithoutASampleTheMeanIsNoNumber) {
    EXPECT_TRUE(std::isnan(OrderedSum{}.mean()));
    OrderedSum dark;
    const Bytes bytes(100, 10);
    dark.addGreater(bytes.data(), 100, 10);
    EXPECT_TRUE(std::isnan(dark.mean()));
}

}  // namespace
}  // namespace brantel::test
