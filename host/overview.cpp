#include "overview.h"

#include <algorithm>

#include "image_io.h"

namespace host {

namespace {

constexpr std::int32_t longestSide = 2000;

struct Scale {
    double factor;

    cv::Point operator()(cv::Point at) const { return {apply(at.x), apply(at.y)}; }
    std::int32_t apply(std::int32_t length) const {
        return static_cast<std::int32_t>(static_cast<double>(length) * factor);
    }
};

/// From yellow over orange to red; blue, green, red.
cv::Scalar colourAt(std::size_t k, std::size_t count) {
    const double progress = count > 1 ? static_cast<double>(k) / static_cast<double>(count - 1) : 0;
    return {40, 230 - 190 * progress, 255 - 20 * progress};
}

void drawOutline(cv::Mat& picture, cv::Rect frame, const cv::Scalar& colour, std::int32_t thickness) {
    const cv::Point a = frame.tl();
    const cv::Point c(std::min(frame.br().x, picture.cols) - 1, std::min(frame.br().y, picture.rows) - 1);
    const cv::Point b(c.x, a.y);
    const cv::Point d(a.x, c.y);
    drawLine(picture, a, b, colour, thickness);
    drawLine(picture, b, c, colour, thickness);
    drawLine(picture, c, d, colour, thickness);
    drawLine(picture, d, a, colour, thickness);
}

/// Coloured with a dark rim, to be seen on any ground.
void drawPath(cv::Mat& picture, const std::vector<cv::Point>& centres, std::int32_t thickness) {
    const cv::Scalar rim(20, 20, 20);
    for (std::size_t k = 1; k < centres.size(); ++k)
        drawLine(picture, centres[k - 1], centres[k], rim, 3 * thickness);
    for (std::size_t k = 0; k < centres.size(); ++k) {
        const cv::Scalar colour = colourAt(k, centres.size());
        if (k > 0) drawLine(picture, centres[k - 1], centres[k], colour, thickness);
        drawDisc(picture, centres[k], 4 * thickness, rim);
        drawDisc(picture, centres[k], 3 * thickness, colour);
    }
}

}  // namespace

cv::Mat overviewOf(const FinishedMosaic& mosaic) {
    const cv::Size full = mosaic.picture.size();
    const Scale scale{std::min(1.0, static_cast<double>(longestSide) / std::max(full.width, full.height))};
    cv::Mat picture = reducedColour(
        mosaic.picture, {std::max(1, scale.apply(full.width)), std::max(1, scale.apply(full.height))});
    const std::int32_t thickness = 1 + std::max(picture.cols, picture.rows) / 1000;

    std::vector<cv::Point> centres;
    for (std::size_t k = 0; k < mosaic.path.size(); ++k) {
        const cv::Rect frame(mosaic.path[k], mosaic.frameSize);
        drawOutline(picture, {scale(frame.tl()), scale(frame.br())}, colourAt(k, mosaic.path.size()),
                    thickness);
        centres.push_back(scale((frame.tl() + frame.br()) / 2));
    }
    drawPath(picture, centres, thickness);
    return picture;
}

}  // namespace host
