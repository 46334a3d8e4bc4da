// Deterministic pictures to cut camera frames from; the same bytes on every machine.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

namespace brantel::test {

/// Small integer generator (splitmix64), so that no test depends on a run-time library's distributions.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    /// Uniform in [low, high].
    std::int32_t between(std::int32_t low, std::int32_t high);
    std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 56U); }

  private:
    std::uint64_t state_;
};

/// A packed frame of random bytes.
std::vector<std::uint8_t> randomBytes(std::int64_t count, std::uint64_t seed);

/// A packed 8-bit picture with 1 or 3 channels.
struct Picture {
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    std::int32_t channels = 1;
    std::vector<std::uint8_t> pixels;

    /// Frame of rows x cols whose top-left pixel is (column x, row y); it must lie inside.
    std::vector<std::uint8_t> window(std::int32_t x, std::int32_t y, std::int32_t windowRows,
                                     std::int32_t windowCols) const;
};

enum class Texture {
    fine,    // noise of several octaves: detail everywhere
    grains,  // smooth background with sparse sharp-edged grains
    grid,    // a repeated cell, each slightly different from the others
};

std::string nameOf(Texture texture);
std::ostream& operator<<(std::ostream& out, Texture texture);

/// Samples lie between 16 and 240, so none is 0 ("empty" on the canvas).
Picture makePicture(Texture texture, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                    std::uint64_t seed);

/// Adds uniform noise of [-amplitude, amplitude] to every sample, clamped to 1 to 255.
void addNoise(std::vector<std::uint8_t>& frame, std::int32_t amplitude, std::uint64_t seed);

/// Adds a constant to every sample, clamped to 1 to 255.
void changeBrightness(std::vector<std::uint8_t>& frame, std::int32_t change);

/// FNV-1a of some bytes, to compare whole pictures by one number.
std::uint64_t hashOf(const void* data, std::size_t bytes);
/// The same for a matrix's pixels, row by row, whatever lies between the rows.
std::uint64_t hashOf(const cv::Mat& image);

}  // namespace brantel::test
