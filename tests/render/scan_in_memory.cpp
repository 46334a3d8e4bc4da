#include "render/scan_in_memory.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "support/picture.h"

namespace brantel::render::test {

using brantel::test::makePicture;
using brantel::test::Picture;
using brantel::test::Random;
using brantel::test::Texture;

MemoryScan::MemoryScan(cv::Size frame, cv::Point step, cv::Size pictureSize, int type, std::uint64_t seed)
    : size(frame) {
    Picture made = makePicture(Texture::fine, pictureSize.height, pictureSize.width, CV_MAT_CN(type), seed);
    cv::Mat eight(pictureSize, CV_MAKETYPE(CV_8U, CV_MAT_CN(type)), made.pixels.data());
    eight.convertTo(picture, CV_MAT_DEPTH(type), CV_MAT_DEPTH(type) == CV_16U ? 200 : 1);
    Random random(seed);
    bool back = false;
    for (int y = 0; y + frame.height <= pictureSize.height; y += step.y, back = !back) {
        std::vector<cv::Point> line;
        for (int x = 0; x + frame.width <= pictureSize.width; x += step.x) {
            const int offX = std::clamp(x + random.between(-6, 6), 0, pictureSize.width - frame.width);
            const int offY = std::clamp(y + random.between(-6, 6), 0, pictureSize.height - frame.height);
            line.emplace_back(offX, offY);
        }
        if (back) std::reverse(line.begin(), line.end());
        places.insert(places.end(), line.begin(), line.end());
    }
    exposures.assign(places.size(), 1);
}

double MemoryScan::lightAt(int row, int col) const {
    const double x = (2.0 * col + 1) / size.width - 1;
    const double y = (2.0 * row + 1) / size.height - 1;
    return 1 - vignetting * (x * x + y * y) / 2;
}

cv::Mat MemoryScan::read(std::size_t frame) {
    ++readings;
    if (broken.count(frame) != 0) return {};
    cv::Mat light(size, CV_64F);
    for (int row = 0; row < size.height; ++row)
        for (int col = 0; col < size.width; ++col)
            light.at<double>(row, col) = exposures[frame] * lightAt(row, col);
    cv::Mat samples;
    picture(cv::Rect(places[frame], size)).convertTo(samples, CV_64F);
    cv::merge(std::vector<cv::Mat>(static_cast<std::size_t>(samples.channels()), light), light);
    cv::multiply(samples, light, samples);
    samples.convertTo(samples, picture.depth());
    return samples;
}

cv::Mat MemoryScan::grey(std::size_t, const cv::Mat& samples) const {
    cv::Mat grey = samples;
    if (grey.depth() == CV_16U) grey.convertTo(grey, CV_8U, 1 / 200.0);
    if (grey.channels() == 3) cv::cvtColor(grey, grey, cv::COLOR_BGR2GRAY);
    return grey;
}

std::vector<ScanFrame> MemoryScan::knownFrames(std::uint64_t seed) const {
    Random random(seed);
    std::vector<ScanFrame> frames;
    for (std::size_t k = 0; k < places.size(); ++k) {
        ScanFrame frame;
        frame.group = 1;
        if (k > 0) {
            frame.joins = k - 1;
            frame.offset = cv::Point2d(places[k] - places[k - 1]) +
                           cv::Point2d(random.between(-2, 2), random.between(-2, 2));
            frame.place = frames[k - 1].place + frame.offset;
        }
        frames.push_back(frame);
    }
    return frames;
}

}  // namespace brantel::render::test
