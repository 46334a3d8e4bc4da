// The sum of many bytes in one single-precision accumulator, in order.
#pragma once

#include <cstdint>

namespace brantel {

/// Adds bytes one by one to a float, as a loop over `sum += byte` does, with every rounding that this
/// entails: beyond 2^24 a float holds only every second whole number, beyond 2^25 every fourth, and ties go
/// to the even neighbour. The result is the same; bytes are collected and added many at once.
///
/// With a sum s = g m (g the distance between floats) and a byte v = g q + r: for r < g/2 the new m is m + q,
/// for r > g/2 it is m + q + 1, and for r = g/2 the even one of the two. So a tie leaves an even m whatever
/// came before, and only the parity of m since the last tie decides where a tie goes: the running parity of
/// the quotients.
class OrderedSum {
  public:
    void addEverySecond(const std::uint8_t* bytes, std::int64_t count);
    void addGreater(const std::uint8_t* bytes, std::int64_t count, std::uint8_t level);
    /// Sum / number of samples; NaN without one.
    float mean();

  private:
    static constexpr std::int64_t room = 4096;

    /// Hands out room for at most count bytes, which take(count) has to fill, until all are taken.
    template <class Take>
    void collect(std::int64_t count, Take&& take);
    void addCollected();
    std::int64_t addBlocks(const std::uint8_t* values, std::int64_t blocks);
    void addOneByOne(const std::uint8_t* values, std::int64_t count);

    float sum_ = 0;
    std::int64_t count_ = 0;
    std::int64_t collected_ = 0;
    std::uint8_t values_[room];
};

}  // namespace brantel
