#include "picture/row_blend.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace brantel::render {

namespace {

struct Unlit {
    float operator[](std::int64_t) const { return 1; }
};

/// What is not a number becomes 0.
template <typename Sample>
Sample rounded(float value) {
    constexpr float most = std::numeric_limits<Sample>::max();
    const float half = value + 0.5F;
    const float above = half > 0 ? half : 0;
    return static_cast<Sample>(static_cast<std::int32_t>(above < most ? above : most));
}

template <typename Sample, typename Factors>
void single(const Sample* samples, Factors factors, float gain, std::int64_t count, Sample* to) {
    for (std::int64_t i = 0; i < count; ++i)
        to[i] = rounded<Sample>(static_cast<float>(samples[i]) * factors[i] * gain);
}

template <typename Sample, typename Factors>
void addWeighted(const RowPart& part, const Sample* samples, Factors factors, std::int64_t count,
                 float* __restrict values, float* __restrict weights) {
    for (std::int64_t i = 0; i < count; ++i) {
        const float weight = part.columns[i] < part.row ? part.columns[i] : part.row;
        values[i] += weight * (static_cast<float>(samples[i]) * factors[i] * part.gain);
        weights[i] += weight;
    }
}

template <typename Sample, typename Factors>
void takeFarther(const RowPart& part, const Sample* samples, Factors factors, std::int64_t count,
                 float* __restrict values, float* __restrict weights) {
    for (std::int64_t i = 0; i < count; ++i) {
        const float weight = part.columns[i] < part.row ? part.columns[i] : part.row;
        const float value = static_cast<float>(samples[i]) * factors[i] * part.gain;
        values[i] = weight > weights[i] ? value : values[i];
        weights[i] = weight > weights[i] ? weight : weights[i];
    }
}

template <typename Sample>
void roundAll(const float* values, std::int64_t count, Sample* to) {
    for (std::int64_t i = 0; i < count; ++i) to[i] = rounded<Sample>(values[i]);
}

template <typename Sample>
void roundMeans(const float* values, const float* weights, std::int64_t count, Sample* to) {
    for (std::int64_t i = 0; i < count; ++i) to[i] = rounded<Sample>(values[i] / weights[i]);
}

}  // namespace

RowBlend::RowBlend(Blend blend, std::int32_t depth, std::int64_t longest)
    : blend_(blend),
      depth_(depth),
      values_(static_cast<std::size_t>(longest)),
      weights_(static_cast<std::size_t>(longest)) {}

void RowBlend::blend(const std::vector<RowPart>& parts, std::int64_t samples, std::uint8_t* to) {
    if (depth_ == CV_8U)
        blendSamples(parts, samples, to);
    else
        blendSamples(parts, samples, reinterpret_cast<std::uint16_t*>(to));
}

template <typename Sample>
void RowBlend::blendSamples(const std::vector<RowPart>& parts, std::int64_t samples, Sample* to) {
    const auto with = [](const RowPart& part, const auto& step) {
        const auto* from = reinterpret_cast<const Sample*>(part.samples);
        if (part.factors == nullptr)
            step(from, Unlit());
        else
            step(from, part.factors);
    };
    const RowPart& first = parts.front();
    if (parts.size() == 1) {
        if (first.factors == nullptr && first.gain == 1)
            std::memcpy(to, first.samples, sizeof(Sample) * static_cast<std::size_t>(samples));
        else
            with(first, [&](auto from, auto factors) { single(from, factors, first.gain, samples, to); });
        return;
    }
    std::fill_n(values_.begin(), samples, 0.0F);
    std::fill_n(weights_.begin(), samples, 0.0F);
    float* values = values_.data();
    float* weights = weights_.data();
    for (const RowPart& part : parts)
        with(part, [&](auto from, auto factors) {
            if (blend_ == Blend::feather)
                addWeighted(part, from, factors, samples, values, weights);
            else
                takeFarther(part, from, factors, samples, values, weights);
        });
    if (blend_ == Blend::feather)
        roundMeans(values, weights, samples, to);
    else
        roundAll(values, samples, to);
}

}  // namespace brantel::render
