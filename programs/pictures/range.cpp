#include "pictures/range.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <opencv2/core.hpp>

namespace brantel::programs {

namespace {

constexpr double darkest = 1;
constexpr double outside = 0.001;        // part of the samples below an automatic range, and above
constexpr double bearablyBright = 0.02;  // part of a picture that may be above the range
constexpr std::int64_t samplesEach = 1 << 20;

std::optional<double> number(const char* from, const char* to) {
    double value = 0;
    const auto [end, error] = std::from_chars(from, to, value);
    return error == std::errc() && end == to && std::isfinite(value) ? std::optional<double>(value)
                                                                     : std::nullopt;
}

Range fullRange(int depth) {
    switch (depth) {
        case CV_8S:
            return {-128, 127};
        case CV_16U:
            return {0, 65535};
        case CV_16S:
            return {-32768, 32767};
        case CV_32S:
            return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
        case CV_32F:
        case CV_64F:
            return {0, 1};
        default:
            return {0, 255};
    }
}

/// Evenly spread over the picture; what is no number is left out.
void addSamples(const cv::Mat& picture, std::vector<double>& samples) {
    const std::int64_t all = static_cast<std::int64_t>(picture.total());
    const auto rowStep = static_cast<std::int32_t>(std::max<std::int64_t>(1, all / samplesEach));
    for (std::int32_t r = 0; r < picture.rows; r += rowStep) {
        cv::Mat row;
        picture.row(r).reshape(1).convertTo(row, CV_64F);
        std::copy_if(row.begin<double>(), row.end<double>(), std::back_inserter(samples),
                     [](double value) { return std::isfinite(value); });
    }
}

double percentile(std::vector<double>& samples, double part) {
    const auto k = static_cast<std::ptrdiff_t>(std::lround(part * static_cast<double>(samples.size() - 1)));
    std::nth_element(samples.begin(), samples.begin() + k, samples.end());
    return samples[static_cast<std::size_t>(k)];
}

/// Comparing in this way turns what is no number into the darkest value.
template <class Sample>
Sample toned(double sample, const Range& range, double factor) {
    if (!(sample > range.low)) return static_cast<Sample>(darkest);
    constexpr double brightest = std::numeric_limits<Sample>::max();
    if (sample >= range.high) return static_cast<Sample>(brightest);
    // In a range that is hardly one the factor has no end.
    return static_cast<Sample>(
        std::min(brightest, std::floor(darkest + (sample - range.low) * factor + 0.5)));
}

template <class Sample>
double factorFor(const Range& range) {
    return (std::numeric_limits<Sample>::max() - darkest) / (range.high - range.low);
}

}  // namespace

std::optional<RangeSetting> parseRange(const std::string& text) {
    if (text == "auto") return RangeSetting{};
    if (text == "full") return RangeSetting{RangeSetting::Kind::full, {}};
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) return std::nullopt;
    const auto low = number(text.data(), text.data() + comma);
    const auto high = number(text.data() + comma + 1, text.data() + text.size());
    if (!low || !high || *low >= *high) return std::nullopt;
    return RangeSetting{RangeSetting::Kind::given, {*low, *high}};
}

std::string nameOf(const Range& range) {
    char text[80];
    std::snprintf(text, sizeof text, "%.6g to %.6g", range.low, range.high);
    return text;
}

bool Tones::wantsExamples(const cv::Mat& samples) const {
    return setting_.kind == RangeSetting::Kind::automatic && !learnt_ && !samples.empty() &&
           samples.depth() != CV_8U;
}

void Tones::learnFrom(const std::vector<cv::Mat>& examples) {
    std::vector<double> samples;
    for (const cv::Mat& example : examples) addSamples(example, samples);
    if (samples.empty()) samples.push_back(0);
    Range range{percentile(samples, outside), percentile(samples, 1 - outside)};
    if (range.low >= range.high) range.high = range.low + 1;  // all samples are the same
    learnt_ = range;
}

std::optional<Range> Tones::rangeFor(const cv::Mat& samples) const {
    switch (setting_.kind) {
        case RangeSetting::Kind::given:
            return setting_.range;
        case RangeSetting::Kind::full:
            return samples.depth() == CV_8U ? std::nullopt : std::optional<Range>(fullRange(samples.depth()));
        default:
            return samples.depth() == CV_8U ? std::nullopt : learnt_;
    }
}

Toned Tones::apply(const cv::Mat& samples) const {
    const std::optional<Range> range = rangeFor(samples);
    if (!range || samples.empty()) return {samples, std::nullopt, std::nullopt};
    Toned result{cv::Mat(samples.size(), CV_8UC(samples.channels())), range, std::nullopt};
    const auto factor = factorFor<std::uint8_t>(*range);
    std::int64_t above = 0;
    double highest = range->high;
    cv::Mat row;
    for (std::int32_t r = 0; r < samples.rows; ++r) {
        samples.row(r).reshape(1).convertTo(row, CV_64F);
        std::uint8_t* to = result.picture.ptr(r);
        for (const double sample : cv::Mat_<double>(row)) {
            *to++ = toned<std::uint8_t>(sample, *range, factor);
            if (!(sample > range->high)) continue;
            ++above;
            highest = std::max(highest, sample);
        }
    }
    const auto all = static_cast<double>(samples.total()) * samples.channels();
    if (static_cast<double>(above) > bearablyBright * all) result.beyond = highest;
    return result;
}

cv::Mat deepened(const cv::Mat& samples, const Range& range) {
    cv::Mat result(samples.size(), CV_16UC(samples.channels()));
    const auto factor = factorFor<std::uint16_t>(range);
    cv::Mat row;
    for (std::int32_t r = 0; r < samples.rows; ++r) {
        samples.row(r).reshape(1).convertTo(row, CV_64F);
        auto* to = result.ptr<std::uint16_t>(r);
        for (const double sample : cv::Mat_<double>(row)) *to++ = toned<std::uint16_t>(sample, range, factor);
    }
    return result;
}

}  // namespace brantel::programs
