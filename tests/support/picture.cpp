#include "support/picture.h"

#include <algorithm>
#include <cstring>
#include <ostream>

namespace brantel::test {

namespace {

std::uint64_t mix(std::uint64_t z) {
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31U);
}

/// Adds bilinear noise of one cell size, values 0 to 255 times weight.
void addOctave(std::vector<std::int32_t>& sum, std::int32_t rows, std::int32_t cols, std::int32_t cell,
               std::int32_t weight, std::uint64_t seed) {
    const std::int32_t across = cols / cell + 2;
    const std::int32_t down = rows / cell + 2;
    std::vector<std::int32_t> lattice(static_cast<std::size_t>(across) * down);
    Random random(seed);
    for (std::int32_t& value : lattice) value = random.byte() * weight;
    std::vector<std::int32_t> line(static_cast<std::size_t>(across));
    for (std::int32_t r = 0; r < rows; ++r) {
        const std::int32_t fy = r % cell;
        const std::int32_t* upper = lattice.data() + std::ptrdiff_t{r / cell} * across;
        for (std::int32_t i = 0; i < across; ++i) line[i] = upper[i] * (cell - fy) + upper[i + across] * fy;
        std::int32_t* out = sum.data() + std::ptrdiff_t{r} * cols;
        for (std::int32_t c = 0; c < cols; ++c) {
            const std::int32_t fx = c % cell;
            const std::int32_t* left = line.data() + c / cell;
            out[c] += (left[0] * (cell - fx) + left[1] * fx) / (cell * cell);
        }
    }
}

/// Sums to at most 16 * 255.
std::vector<std::int32_t> fineTexture(std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    std::vector<std::int32_t> sum(static_cast<std::size_t>(rows) * cols);
    addOctave(sum, rows, cols, 64, 3, seed);
    addOctave(sum, rows, cols, 16, 4, seed + 1);
    addOctave(sum, rows, cols, 7, 5, seed + 2);
    addOctave(sum, rows, cols, 3, 4, seed + 3);
    return sum;
}

std::vector<std::int32_t> grainTexture(std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    std::vector<std::int32_t> sum(static_cast<std::size_t>(rows) * cols);
    addOctave(sum, rows, cols, 128, 4, seed);
    addOctave(sum, rows, cols, 9, 1, seed + 1);
    Random random(seed + 2);
    const std::int64_t grains = std::int64_t{rows} * cols / 500;
    for (std::int64_t g = 0; g < grains; ++g) {
        const std::int32_t x = random.between(0, cols - 1);
        const std::int32_t y = random.between(0, rows - 1);
        const std::int32_t height = random.between(3, 12);
        const std::int32_t width = random.between(3, 12);
        const std::int32_t slant = random.between(-2, 2);
        const std::int32_t light = random.between(4, 11) * 255;
        for (std::int32_t r = y; r < std::min(rows, y + height); ++r) {
            const std::int32_t from = std::max(0, x + slant * (r - y) / 2);
            for (std::int32_t c = from; c < std::min(cols, from + width); ++c)
                sum[static_cast<std::size_t>(r) * cols + c] = light;
        }
    }
    return sum;
}

std::vector<std::int32_t> gridTexture(std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    constexpr std::int32_t pitch = 48;
    std::vector<std::int32_t> sum(static_cast<std::size_t>(rows) * cols);
    addOctave(sum, rows, cols, 11, 4, seed);
    Random random(seed + 1);
    for (std::int32_t y = 0; y < rows; y += pitch)
        for (std::int32_t x = 0; x < cols; x += pitch) {
            // a bright frame line with one pad whose size and place differ from cell to cell
            const std::int32_t padX = x + random.between(6, 24);
            const std::int32_t padY = y + random.between(6, 24);
            const std::int32_t padSide = random.between(8, 20);
            for (std::int32_t r = y; r < std::min(rows, y + pitch); ++r)
                for (std::int32_t c = x; c < std::min(cols, x + pitch); ++c) {
                    std::int32_t& pixel = sum[static_cast<std::size_t>(r) * cols + c];
                    const bool line = r < y + 3 || c < x + 3;
                    const bool pad = r >= padY && r < padY + padSide && c >= padX && c < padX + padSide;
                    pixel += line ? 9 * 255 : (pad ? 6 * 255 : 0);
                }
        }
    return sum;
}

std::vector<std::int32_t> plane(Texture texture, std::int32_t rows, std::int32_t cols, std::uint64_t seed) {
    switch (texture) {
        case Texture::fine:
            return fineTexture(rows, cols, seed);
        case Texture::grains:
            return grainTexture(rows, cols, seed);
        case Texture::grid:
            return gridTexture(rows, cols, seed);
    }
    return {};
}

std::uint8_t clampSample(std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp(value, 1, 255));
}

}  // namespace

std::uint64_t Random::next() {
    state_ += 0x9E3779B97F4A7C15U;
    return mix(state_);
}

std::int32_t Random::between(std::int32_t low, std::int32_t high) {
    const auto span = static_cast<std::uint64_t>(std::int64_t{high} - low + 1);
    return static_cast<std::int32_t>(low + static_cast<std::int64_t>((next() >> 32U) % span));
}

std::vector<std::uint8_t> randomBytes(std::int64_t count, std::uint64_t seed) {
    Random random(seed);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
    for (std::uint8_t& byte : bytes) byte = random.byte();
    return bytes;
}

std::string nameOf(Texture texture) {
    switch (texture) {
        case Texture::fine:
            return "fine";
        case Texture::grains:
            return "grains";
        case Texture::grid:
            return "grid";
    }
    return "unknown";
}

std::ostream& operator<<(std::ostream& out, Texture texture) {
    return out << nameOf(texture);
}

std::vector<std::uint8_t> Picture::window(std::int32_t x, std::int32_t y, std::int32_t windowRows,
                                          std::int32_t windowCols) const {
    if (x < 0 || y < 0 || x + windowCols > cols || y + windowRows > rows) return {};
    const std::size_t line = static_cast<std::size_t>(windowCols) * channels;
    std::vector<std::uint8_t> frame(line * windowRows);
    for (std::int32_t r = 0; r < windowRows; ++r)
        std::memcpy(frame.data() + line * r,
                    pixels.data() + (static_cast<std::size_t>(y + r) * cols + x) * channels, line);
    return frame;
}

Picture makePicture(Texture texture, std::int32_t rows, std::int32_t cols, std::int32_t channels,
                    std::uint64_t seed) {
    const std::vector<std::int32_t> light = plane(texture, rows, cols, seed);
    std::vector<std::int32_t> tint(light.size());
    if (channels == 3) addOctave(tint, rows, cols, 96, 1, seed + 77);
    Picture picture{rows, cols, channels, {}};
    picture.pixels.reserve(light.size() * channels);
    for (std::size_t i = 0; i < light.size(); ++i) {
        const std::int32_t grey = 16 + std::min(light[i], 16 * 255) * 224 / (16 * 255);
        if (channels == 1) {
            picture.pixels.push_back(static_cast<std::uint8_t>(grey));
            continue;
        }
        // the colour drifts slowly over the picture, the detail is in all three samples
        const std::int32_t shift = (tint[i] - 128) / 4;
        for (const std::int32_t sample : {grey + shift, grey, grey - shift})
            picture.pixels.push_back(static_cast<std::uint8_t>(std::clamp(sample, 16, 240)));
    }
    return picture;
}

void addNoise(std::vector<std::uint8_t>& frame, std::int32_t amplitude, std::uint64_t seed) {
    Random random(seed);
    for (std::uint8_t& sample : frame) sample = clampSample(sample + random.between(-amplitude, amplitude));
}

void changeBrightness(std::vector<std::uint8_t>& frame, std::int32_t change) {
    for (std::uint8_t& sample : frame) sample = clampSample(sample + change);
}

namespace {

constexpr std::uint64_t emptyHash = 0xCBF29CE484222325U;

std::uint64_t continueHash(std::uint64_t hash, const void* data, std::size_t bytes) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < bytes; ++i) hash = (hash ^ p[i]) * 0x100000001B3U;
    return hash;
}

}  // namespace

std::uint64_t hashOf(const void* data, std::size_t bytes) {
    return continueHash(emptyHash, data, bytes);
}

std::uint64_t hashOf(const cv::Mat& image) {
    std::uint64_t hash = emptyHash;
    for (int r = 0; r < image.rows; ++r)
        hash = continueHash(hash, image.ptr(r), static_cast<std::size_t>(image.cols) * image.elemSize());
    return hash;
}

}  // namespace brantel::test
