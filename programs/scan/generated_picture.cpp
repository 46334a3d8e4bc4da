#include "scan/generated_picture.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace brantel::programs {

namespace {

constexpr std::int32_t cellSide = 110;  // distance of the grain centres, pixels

struct Colour {
    float blue, green, red;
};

// Interference colours from low to high order, with some greys as quartz shows them.
constexpr Colour palette[] = {{82, 84, 88},   {168, 172, 174}, {206, 214, 218}, {150, 205, 232},
                              {72, 168, 228}, {58, 104, 214},  {120, 62, 176},  {178, 84, 92},
                              {196, 148, 62}, {142, 176, 92},  {112, 196, 176}, {128, 134, 140}};
constexpr std::int32_t colours = sizeof palette / sizeof *palette;

/// Any three whole numbers, well mixed.
template <class A, class B, class C>
std::uint32_t hash(A a, B b, C c) {
    std::uint32_t h = static_cast<std::uint32_t>(a) * 0x85EBCA6BU ^
                      static_cast<std::uint32_t>(b) * 0xC2B2AE35U ^
                      static_cast<std::uint32_t>(c) * 0x27D4EB2FU;
    h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
    h = (h ^ (h >> 12)) * 0x297A2D39U;
    return h ^ (h >> 15);
}

/// 0 to 1.
float unit(std::uint32_t bits) {
    return static_cast<float>(bits >> 8) / 16777216.0F;
}

/// Smooth noise from 0 to 1 with features of about `side` pixels.
float valueNoise(float x, float y, float side, std::uint32_t seed) {
    const float u = x / side;
    const float v = y / side;
    const float left = std::floor(u);
    const float top = std::floor(v);
    const auto ix = static_cast<std::int32_t>(left);
    const auto iy = static_cast<std::int32_t>(top);
    float s = u - left;
    float t = v - top;
    s = s * s * (3 - 2 * s);
    t = t * t * (3 - 2 * t);
    const float upper = unit(hash(ix, iy, seed)) * (1 - s) + unit(hash(ix + 1, iy, seed)) * s;
    const float lower = unit(hash(ix, iy + 1, seed)) * (1 - s) + unit(hash(ix + 1, iy + 1, seed)) * s;
    return upper * (1 - t) + lower * t;
}

struct Grain {
    std::uint32_t id;
    float edge;  // how far the grain's boundary is, pixels
};

/// The grain at a point: the nearest of the centres scattered over a grid of cells.
Grain grainAt(float x, float y, std::uint32_t seed) {
    const auto cellX = static_cast<std::int32_t>(std::floor(x / cellSide));
    const auto cellY = static_cast<std::int32_t>(std::floor(y / cellSide));
    float nearest = 1e9F;
    float second = 1e9F;
    std::uint32_t id = 0;
    for (std::int32_t cy = cellY - 2; cy <= cellY + 2; ++cy)
        for (std::int32_t cx = cellX - 2; cx <= cellX + 2; ++cx) {
            const std::uint32_t cell = hash(cx, cy, seed);
            const float dx = (static_cast<float>(cx) + unit(cell)) * cellSide - x;
            const float dy = (static_cast<float>(cy) + unit(hash(cell, 1, 2))) * cellSide - y;
            const float distance = std::sqrt(dx * dx + dy * dy);
            if (distance < nearest) {
                second = nearest;
                nearest = distance;
                id = cell;
            } else {
                second = std::min(second, distance);
            }
        }
    return {id, (second - nearest) / 2};
}

/// Darkening by the grain's cleavage: parallel cracks whose direction and distance belong to the grain.
float cleavage(float x, float y, std::uint32_t grain, std::uint32_t seed) {
    if (grain % 3 == 0) return 1;  // every third mineral has none
    const float a = unit(hash(grain, 3, 4)) * 2 - 1;
    const float b = unit(hash(grain, 5, 6)) * 2 - 1;
    const float length = std::sqrt(a * a + b * b) + 0.01F;
    const float spacing = 9 + 22 * unit(hash(grain, 7, 8));
    const float along = (a * x + b * y) / length + 5 * valueNoise(x, y, 40, seed + 9);
    const float place = along / spacing - std::floor(along / spacing);
    const float broken = valueNoise(x, y, 24, seed + 10);
    return place < 0.1F && broken > 0.42F ? 0.62F : 1;
}

float brightnessAt(float x, float y, const Grain& grain, std::uint32_t seed) {
    const float fine = valueNoise(x, y, 3, seed + 5);
    const float coarse = valueNoise(x, y, 17, seed + 6);
    float light = 0.72F + 0.16F * fine + 0.3F * coarse;
    light *= cleavage(x, y, grain.id, seed);
    if (grain.edge < 2.5F) light *= 0.25F + 0.3F * grain.edge;
    if (valueNoise(x, y, 7, seed + 7) > 0.9F) light *= 0.35F;  // inclusions
    return light;
}

std::uint8_t sampleOf(float value) {
    return static_cast<std::uint8_t>(std::clamp(value, 1.0F, 255.0F));
}

}  // namespace

cv::Mat generatePicture(cv::Size size, std::uint32_t seed) {
    cv::Mat picture(size, CV_8UC3);
    for (std::int32_t row = 0; row < size.height; ++row) {
        auto* pixel = picture.ptr<std::uint8_t>(row);
        for (std::int32_t col = 0; col < size.width; ++col, pixel += 3) {
            const auto x = static_cast<float>(col);
            const auto y = static_cast<float>(row);
            // The grain boundaries are bent: what is looked up lies a little beside the pixel.
            const float bentX = x + 26 * (valueNoise(x, y, 31, seed + 1) - 0.5F);
            const float bentY = y + 26 * (valueNoise(x, y, 31, seed + 2) - 0.5F);
            const Grain grain = grainAt(bentX, bentY, seed);
            const float light = brightnessAt(x, y, grain, seed);
            const Colour& colour = palette[grain.id / 16 % colours];
            pixel[0] = sampleOf(colour.blue * light);
            pixel[1] = sampleOf(colour.green * light);
            pixel[2] = sampleOf(colour.red * light);
        }
    }
    return picture;
}

}  // namespace brantel::programs
