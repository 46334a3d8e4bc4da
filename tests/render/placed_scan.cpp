#include "placed_scan.h"

#include <algorithm>
#include <cmath>

namespace brantel::test {

using render::PlacedFrame;

namespace {

cv::Mat randomFrame(cv::Size size, std::int32_t type, Random& random) {
    cv::Mat frame(size, type);
    const std::size_t bytes = frame.total() * frame.elemSize();
    for (std::size_t i = 0; i < bytes; ++i) frame.data[i] = random.byte();
    return frame;
}

std::vector<cv::Point2d> randomPlaces(const ScanSettings& settings, Random& random) {
    std::vector<cv::Point2d> places;
    for (std::int32_t row = 0; row < settings.rows; ++row)
        for (std::int32_t column = 0; column < settings.columns; ++column)
            places.emplace_back(column * settings.step.x + random.between(-settings.jitter, settings.jitter),
                                row * settings.step.y + random.between(-settings.jitter, settings.jitter));
    return places;
}

cv::Mat randomLight(cv::Size size, std::int32_t channels, Random& random) {
    cv::Mat factors(size, CV_MAKETYPE(CV_32F, channels));
    for (std::int32_t y = 0; y < size.height; ++y)
        for (std::int32_t i = 0; i < size.width * channels; ++i)
            factors.ptr<float>(y)[i] = 0.97F + static_cast<float>(random.between(0, 100000)) / 100000;
    return factors;
}

float sampleOf(const cv::Mat& frame, std::int32_t x, std::int32_t y, std::int32_t channel) {
    const std::int32_t i = x * frame.channels() + channel;
    return frame.depth() == CV_8U ? static_cast<float>(frame.ptr(y)[i])
                                  : static_cast<float>(frame.ptr<std::uint16_t>(y)[i]);
}

/// On the straight line from one value that is kept to the next one, down and then across.
float factorOf(const render::FlatField& light, std::int32_t x, std::int32_t y, std::int32_t channel) {
    if (light.isEven()) return 1;
    const std::int32_t channels = light.factors.channels();
    const auto at = [&](std::int32_t row, std::int32_t col) {
        return light.factors.ptr<float>(row)[col * channels + (channels == 1 ? 0 : channel)];
    };
    if (light.step == 1) return at(y, x);
    const std::int32_t row = y / light.step;
    const auto down = static_cast<float>(y % light.step) / static_cast<float>(light.step);
    const auto alongColumn = [&](std::int32_t col) {
        const std::int32_t inside = std::min(col, light.factors.cols - 1);
        const float above = at(row, inside);
        return above + (at(std::min(row + 1, light.factors.rows - 1), inside) - above) * down;
    };
    const float first = alongColumn(x / light.step);
    const float slope = (alongColumn(x / light.step + 1) - first) / static_cast<float>(light.step);
    return first + slope * static_cast<float>(x % light.step);
}

/// A channel of a pixel, as blue, green and red are numbered.
float valueByDefinition(PlacedScan& scan, render::Blend blend, cv::Point pixel, std::int32_t channel) {
    const cv::Size size = scan.layout.frameSize;
    std::int32_t covering = 0;
    float alone = 0;
    float sum = 0;
    float weights = 0;
    float greatest = 0;
    float farthest = 0;
    for (const PlacedFrame& placed : scan.layout.frames) {
        const cv::Mat& frame = scan.frames.frames[placed.frame];
        const cv::Point in = pixel - placed.at;
        if (frame.empty() || !cv::Rect({}, size).contains(in)) continue;
        const float value =
            sampleOf(frame, in.x, in.y, channel) * factorOf(scan.light, in.x, in.y, channel) * placed.gain;
        const auto weight =
            static_cast<float>(std::min({in.x + 1, size.width - in.x, in.y + 1, size.height - in.y}));
        ++covering;
        alone = value;
        sum += weight * value;
        weights += weight;
        if (weight > greatest) {
            greatest = weight;
            farthest = value;
        }
    }
    if (covering < 2) return alone;
    return blend == render::Blend::feather ? sum / weights : farthest;
}

}  // namespace

cv::Mat FramesInMemory::read(std::size_t frame) {
    if (before) before(frame);
    {
        const std::lock_guard lock(mutex_);
        ++reads[frame];
    }
    return frames[frame].clone();
}

cv::Mat FramesInMemory::grey(std::size_t, const cv::Mat& samples) const {
    return samples;
}

PlacedScan::PlacedScan(const ScanSettings& settings) {
    Random random(settings.seed);
    const std::vector<cv::Point2d> places = randomPlaces(settings, random);
    std::vector<std::size_t> numbers;
    for (std::size_t i = places.size(); i-- > 0;) numbers.push_back(i);
    cv::Point origin;
    layout = render::layOut(numbers, places, settings.frameSize, settings.type, origin);
    for (std::size_t i = 0; i < places.size(); ++i)
        frames.frames.push_back(randomFrame(settings.frameSize, settings.type, random));
    frames.reads.resize(places.size());
    if (settings.gains)
        for (PlacedFrame& placed : layout.frames)
            placed.gain = 0.8F + static_cast<float>(random.between(0, 40000)) / 100000;
    light.step = settings.lightStep;
    if (settings.lightChannels > 0)
        light.factors = randomLight(render::FlatField::sizeFor(settings.frameSize, light.step),
                                    settings.lightChannels, random);
}

cv::Mat pictureByDefinition(PlacedScan& scan, render::Blend blend) {
    cv::Mat picture(scan.layout.size, scan.layout.type);
    const std::int32_t channels = picture.channels();
    const bool narrow = picture.depth() == CV_8U;
    const float most = narrow ? 255 : 65535;
    for (std::int32_t y = 0; y < picture.rows; ++y)
        for (std::int32_t x = 0; x < picture.cols; ++x)
            for (std::int32_t channel = 0; channel < channels; ++channel) {
                const float value = valueByDefinition(scan, blend, {x, y}, channel);
                const float rounded = std::clamp(std::floor(value + 0.5F), 0.0F, most);
                const std::int32_t i = x * channels + channels - 1 - channel;
                if (narrow)
                    picture.ptr(y)[i] = static_cast<std::uint8_t>(rounded);
                else
                    picture.ptr<std::uint16_t>(y)[i] = static_cast<std::uint16_t>(rounded);
            }
    return picture;
}

}  // namespace brantel::test
