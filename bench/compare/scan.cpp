#include "compare/scan.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "support/picture.h"

namespace brantel::bench {

namespace {

std::vector<cv::Point> serpentine(const ScanSetup& setup) {
    const auto across = static_cast<std::int32_t>(std::ceil(std::sqrt(setup.frames)));
    const auto dx = static_cast<std::int32_t>(std::lround(setup.cols * (1.0 - setup.overlap) / 2)) * 2;
    const auto dy = static_cast<std::int32_t>(std::lround(setup.rows * (1.0 - setup.overlap) / 2)) * 2;
    std::vector<cv::Point> spots;
    for (std::int32_t i = 0; i < setup.frames; ++i) {
        const std::int32_t line = i / across;
        const std::int32_t place = line % 2 == 0 ? i % across : across - 1 - i % across;
        spots.emplace_back(place * dx, line * dy);
    }
    return spots;
}

cv::Mat generated(cv::Size size, std::int32_t channels) {
    test::Picture picture = test::makePicture(test::Texture::fine, size.height, size.width, channels, 5);
    return cv::Mat(picture.rows, picture.cols, CV_8UC(channels), picture.pixels.data()).clone();
}

/// The picture, at least as large as size.
cv::Mat pictureOf(const ScanSetup& setup, cv::Size size, std::string* source) {
    if (setup.picture.empty()) {
        *source = "generated picture";
        return generated(size, setup.channels);
    }
    cv::Mat picture =
        cv::imread(setup.picture, setup.channels == 3 ? cv::IMREAD_COLOR : cv::IMREAD_GRAYSCALE);
    if (picture.empty()) throw std::runtime_error("cannot read " + setup.picture);
    const double factor = std::max(static_cast<double>(size.width) / picture.cols,
                                   static_cast<double>(size.height) / picture.rows);
    *source = setup.picture.substr(setup.picture.find_last_of('/') + 1) + ", " +
              std::to_string(picture.cols) + " x " + std::to_string(picture.rows);
    if (factor > 1) {
        const cv::Size enlarged(static_cast<int>(std::ceil(picture.cols * factor)),
                                static_cast<int>(std::ceil(picture.rows * factor)));
        cv::resize(picture, picture, enlarged, 0, 0, cv::INTER_CUBIC);
        *source += ", enlarged by " + std::to_string(factor).substr(0, 4) + " (bicubic)";
    }
    return picture;
}

/// Adds camera noise and leaves no zero sample: 0 means "empty" on a canvas.
cv::Mat photographed(const cv::Mat& window, double noise, cv::RNG& random) {
    cv::Mat frame;
    cv::Mat grain(window.size(), CV_16SC(window.channels()));
    random.fill(grain, cv::RNG::NORMAL, 0.0, noise);
    cv::add(window, grain, frame, cv::noArray(), CV_8U);
    return cv::max(frame, 1);
}

}  // namespace

cv::Rect Scan::extent() const {
    cv::Rect all(spots.front(), frameSize());
    for (const cv::Point& spot : spots) all |= cv::Rect(spot, frameSize());
    return all;
}

Scan makeScan(const ScanSetup& setup) {
    Scan scan;
    scan.setup = setup;
    scan.spots = serpentine(setup);
    const cv::Rect all = scan.extent();
    const cv::Mat picture = pictureOf(setup, all.size(), &scan.source);
    cv::RNG random(7);
    scan.frames.reserve(scan.spots.size());
    for (const cv::Point& spot : scan.spots)
        scan.frames.push_back(photographed(picture(cv::Rect(spot, scan.frameSize())), setup.noise, random));
    return scan;
}

std::vector<cv::Mat> framesAt(const ScanSetup& setup, const std::vector<cv::Point>& spots) {
    cv::Rect all(spots.front(), cv::Size(setup.cols, setup.rows));
    for (const cv::Point& spot : spots) all |= cv::Rect(spot, cv::Size(setup.cols, setup.rows));
    std::string source;
    const cv::Mat picture = pictureOf(setup, all.br(), &source);
    cv::RNG random(8);
    std::vector<cv::Mat> frames;
    frames.reserve(spots.size());
    for (const cv::Point& spot : spots)
        frames.push_back(
            photographed(picture(cv::Rect(spot, cv::Size(setup.cols, setup.rows))), setup.noise, random));
    return frames;
}

}  // namespace brantel::bench
