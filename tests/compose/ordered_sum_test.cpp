// A sum in one float keeps every rounding of the written order, however fast it is taken.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "compose/ordered_sum.h"
#include "support/guarded_buffer.h"
#include "support/levels.h"
#include "support/picture.h"

namespace brantel {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct PlainSum {
    float sum = 0;
    std::int64_t count = 0;

    void add(std::uint8_t sample) {
        sum = sum + static_cast<float>(sample);
        ++count;
    }
    float mean() const { return sum / static_cast<float>(count); }
};

void expectSameMeans(const Bytes& bytes, std::int64_t chunk) {
    const auto guarded = test::GuardedBuffer<std::uint8_t>::copyOf(bytes);
    const auto size = static_cast<std::int64_t>(bytes.size());
    OrderedSum everySecond;
    OrderedSum greater;
    PlainSum plainSecond;
    PlainSum plainGreater;
    for (std::int64_t from = 0; from < size; from += chunk) {
        const std::int64_t length = std::min(chunk, size - from);
        everySecond.addEverySecond(guarded->data() + from, (length + 1) / 2);
        greater.addGreater(guarded->data() + from, length, 10);
        for (std::int64_t i = 0; i < length; i += 2)
            plainSecond.add(bytes[static_cast<std::size_t>(from + i)]);
        for (std::int64_t i = 0; i < length; ++i)
            if (bytes[static_cast<std::size_t>(from + i)] > 10)
                plainGreater.add(bytes[static_cast<std::size_t>(from + i)]);
    }
    ASSERT_EQ(everySecond.mean(), plainSecond.mean()) << "every second, chunks of " << chunk;
    if (plainGreater.count == 0) {
        ASSERT_TRUE(std::isnan(greater.mean()));
    } else {
        ASSERT_EQ(greater.mean(), plainGreater.mean()) << "greater, chunks of " << chunk;
    }
}

TEST(OrderedSum, RoundsLikeTheLoopFarBeyond24Bits) {
    // half a gigabyte of brightness: sums to 2^29, where only every 64th number is a float
    test::Random random(1);
    Bytes bytes(4000000);
    for (std::uint8_t& byte : bytes) byte = random.byte();
    test::atEveryLevel([&] {
        for (const std::int64_t chunk : {4000000, 777, 64}) expectSameMeans(bytes, chunk);
    });
}

TEST(OrderedSum, RoundsLikeTheLoopForConstantAndForFewValues) {
    for (const std::int32_t value : {1, 2, 3, 11, 64, 127, 128, 129, 254, 255}) {
        Bytes bytes(3000000, static_cast<std::uint8_t>(value));
        expectSameMeans(bytes, 3000000);
        for (std::size_t i = 0; i < bytes.size(); i += 5) bytes[i] = static_cast<std::uint8_t>(255 - value);
        expectSameMeans(bytes, 1001);
    }
}

TEST(OrderedSum, OddLengthsEndWhereTheyShould) {
    for (std::size_t length = 1; length < 300; ++length)
        expectSameMeans(test::randomBytes(static_cast<std::int64_t>(length), length), 1000);
}

TEST(OrderedSum, WithoutASampleTheMeanIsNoNumber) {
    EXPECT_TRUE(std::isnan(OrderedSum{}.mean()));
    OrderedSum dark;
    const Bytes bytes(100, 10);
    dark.addGreater(bytes.data(), 100, 10);
    EXPECT_TRUE(std::isnan(dark.mean()));
}

}  // namespace
}  // namespace brantel
