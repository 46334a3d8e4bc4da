// Rows of all lengths, contents and positions in memory to try a loop with.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/picture.h"

namespace brantel::test {

/// Where a row lies: directly at a forbidden page, or some elements off it.
struct Place {
    Guard guard;
    std::size_t off;
};
constexpr Place places[] = {{Guard::behind, 0}, {Guard::before, 0}, {Guard::behind, 1},
                            {Guard::before, 1}, {Guard::behind, 7}, {Guard::before, 13}};

inline std::ostream& operator<<(std::ostream& out, const Place& place) {
    return out << (place.guard == Guard::behind ? "page behind" : "page before") << ", off by " << place.off;
}

template <class T>
auto placed(const std::vector<T>& values, const Place& place) {
    return GuardedBuffer<T>::copyOf(values, place.guard, place.off);
}

/// All short lengths and those around multiples of a vector.
inline std::vector<std::int64_t> rowLengths() {
    std::vector<std::int64_t> lengths;
    for (std::int64_t i = 1; i <= 100; ++i) lengths.push_back(i);
    for (const std::int64_t middle : {128, 192, 256, 320})
        for (std::int64_t i = middle - 1; i <= middle + 1; ++i) lengths.push_back(i);
    return lengths;
}

enum class Contents { random, black, white, checkered, onePixel, dark };
constexpr Contents allContents[] = {Contents::random,    Contents::black,    Contents::white,
                                    Contents::checkered, Contents::onePixel, Contents::dark};

inline std::vector<std::uint8_t> bytesOf(Contents contents, std::int64_t count, std::uint64_t seed) {
    if (contents == Contents::random) return randomBytes(count, seed);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count), contents == Contents::white ? 255 : 0);
    Random random(seed);
    if (contents == Contents::onePixel && count > 0)
        bytes[static_cast<std::size_t>(random.between(0, static_cast<std::int32_t>(count) - 1))] = 255;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (contents == Contents::checkered) bytes[i] = (i + seed) % 2 == 0 ? 255 : 0;
        if (contents == Contents::dark) bytes[i] = static_cast<std::uint8_t>(random.between(0, 3));
    }
    return bytes;
}

/// Calls test(length, contents, place, seed) for all lengths and contents, at both pages and off them.
template <class Test>
void forAllRows(Test&& test) {
    std::uint64_t seed = 1;
    for (const std::int64_t length : rowLengths())
        for (const Contents contents : allContents)
            for (const Place& place : {places[0], places[1], places[2 + seed / 3 % 4]}) {
                SCOPED_TRACE(testing::Message() << "length " << length << ", contents "
                                                << static_cast<int>(contents) << ", " << place);
                test(length, contents, place, seed++);
                if (testing::Test::HasFatalFailure()) return;
            }
}

template <class T>
std::vector<T> valuesOf(GuardedBuffer<T>& buffer) {
    return {buffer.begin(), buffer.end()};
}

}  // namespace brantel::test
