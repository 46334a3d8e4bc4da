#include "light/cells.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace brantel::render {

namespace {

constexpr std::int32_t longestSide = 480;  // of a light picture; light changes slowly
constexpr double leastStride = 4;  // of cells, in means: nearer ones have been smoothed into one another
constexpr double darkest = 0.004;  // of white: below it one level more or less is a large ratio
constexpr double brightest = 0.98;

bool usable(float value, double white) {
    return value > darkest * white && value < brightest * white;
}

/// Between four means.
float valueAt(const cv::Mat& means, double x, double y, int channel) {
    const int left = static_cast<int>(x);
    const int top = static_cast<int>(y);
    const int channels = means.channels();
    const auto at = [&](int row, int col) {
        return means.ptr<float>(
            std::min(row, means.rows - 1))[std::min(col, means.cols - 1) * channels + channel];
    };
    const auto fx = static_cast<float>(x - left);
    const auto fy = static_cast<float>(y - top);
    const float above = at(top, left) * (1 - fx) + at(top, left + 1) * fx;
    const float below = at(top + 1, left) * (1 - fx) + at(top + 1, left + 1) * fx;
    return above * (1 - fy) + below * fy;
}

FramePoint pointAt(const LightPicture& picture, double x, double y) {
    return {static_cast<float>((2 * x + 1) * picture.block / picture.frame.width - 1),
            static_cast<float>((2 * y + 1) * picture.block / picture.frame.height - 1)};
}

bool addCell(const LightPicture& inFirst, const LightPicture& inSecond, const cv::Point2d& at,
             const cv::Point2d& other, double white, LightCell& cell) {
    for (int c = 0; c < inFirst.means.channels(); ++c) {
        const float first = valueAt(inFirst.means, at.x, at.y, c);
        const float second = valueAt(inSecond.means, other.x, other.y, c);
        if (!usable(first, white) || !usable(second, white)) return false;
        cell.ratio[static_cast<std::size_t>(c)] = std::log(first / second);
    }
    cell.inFirst = pointAt(inFirst, at.x, at.y);
    cell.inSecond = pointAt(inSecond, other.x, other.y);
    return true;
}

}  // namespace

LightPicture lightPictureOf(const cv::Mat& samples) {
    LightPicture picture;
    picture.frame = samples.size();
    picture.block = std::max(1, (std::max(samples.rows, samples.cols) + longestSide - 1) / longestSide);
    const cv::Size size(samples.cols / picture.block, samples.rows / picture.block);
    const cv::Mat whole = samples(cv::Rect(0, 0, size.width * picture.block, size.height * picture.block));
    cv::Mat reduced;
    cv::resize(whole, reduced, size, 0, 0, cv::INTER_AREA);
    reduced.convertTo(picture.means, CV_32F);
    cv::blur(picture.means, picture.means, {5, 5}, {-1, -1}, cv::BORDER_REPLICATE);
    return picture;
}

void addCells(std::size_t first, const LightPicture& inFirst, std::size_t second,
              const LightPicture& inSecond, const cv::Point2d& offset, double white, std::size_t most,
              std::vector<LightCell>& cells) {
    const cv::Mat& means = inFirst.means;
    constexpr double margin = 2;  // beside it the smoothing has seen what lies in one frame only
    const cv::Point2d step = offset / inFirst.block;
    const double left = std::max(0.0, step.x) + margin;
    const double top = std::max(0.0, step.y) + margin;
    const double right = std::min(0.0, step.x) + means.cols - 1 - margin;
    const double bottom = std::min(0.0, step.y) + means.rows - 1 - margin;
    const double area = std::max(0.0, right - left) * std::max(0.0, bottom - top);
    const double stride = std::max(leastStride, std::sqrt(area / static_cast<double>(most)));
    for (double y = top; y <= bottom; y += stride)
        for (double x = left; x <= right; x += stride) {
            LightCell cell{first, second, {}, {}, {}};
            if (addCell(inFirst, inSecond, {x, y}, {x - step.x, y - step.y}, white, cell))
                cells.push_back(cell);
        }
}

LightGrid lightGridOf(const LightPicture& picture, double white) {
    const int channels = picture.means.channels();
    cv::Mat reduced;
    cv::resize(picture.means, reduced, {LightGrid::cols, LightGrid::rows}, 0, 0, cv::INTER_AREA);
    const cv::Scalar mean = cv::mean(reduced);
    LightGrid grid;
    grid.values.reserve(LightGrid::valuesOf(channels));
    for (int row = 0; row < reduced.rows; ++row)
        for (int k = 0; k < reduced.cols * channels; ++k) {
            const float value = reduced.ptr<float>(row)[k];
            grid.values.push_back(usable(value, white)
                                      ? std::log(value / static_cast<float>(mean[k % channels]))
                                      : std::numeric_limits<float>::quiet_NaN());
        }
    return grid;
}

}  // namespace brantel::render
