#include "stitch/overview.h"

#include <algorithm>

#include "pictures/image_io.h"

namespace brantel::programs {

namespace {

constexpr std::int32_t longestSide = 2000;

struct Scale {
    double factor;

    cv::Point operator()(cv::Point at) const { return {apply(at.x), apply(at.y)}; }
    std::int32_t apply(std::int32_t length) const {
        return static_cast<std::int32_t>(static_cast<double>(length) * factor);
    }
};

/// How large the marks are. They shrink with the frames on the overview, so that thousands of frames do not
/// hide the picture.
struct Marks {
    std::int32_t line;
    std::int32_t disc;  ///< radius
    bool rims;          ///< dark ones, by which path and discs can be seen on any ground
    bool outlines;

    /// @param frameSide    a frame's shorter side on the overview
    /// @param pictureSide  the overview's longer side
    Marks(std::int32_t frameSide, std::int32_t pictureSide)
        : line(std::clamp(frameSide / 60, 1, 1 + pictureSide / 1000)),
          disc(std::clamp(frameSide / 16, 1, 3 * line)),
          rims(frameSide >= 24),
          outlines(frameSide >= 60) {}
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

void drawPath(cv::Mat& picture, const std::vector<cv::Point>& centres, const Marks& marks) {
    const cv::Scalar rim(20, 20, 20);
    for (std::size_t k = 1; marks.rims && k < centres.size(); ++k)
        drawLine(picture, centres[k - 1], centres[k], rim, 3 * marks.line);
    for (std::size_t k = 0; k < centres.size(); ++k) {
        const cv::Scalar colour = colourAt(k, centres.size());
        if (k > 0) drawLine(picture, centres[k - 1], centres[k], colour, marks.line);
        if (marks.rims) drawDisc(picture, centres[k], marks.disc + marks.line, rim);
        drawDisc(picture, centres[k], marks.disc, colour);
    }
}

}  // namespace

cv::Mat overviewOf(const cv::Mat& whole, const FinishedMosaic& mosaic) {
    const cv::Size full = whole.size();
    const Scale scale{std::min(1.0, static_cast<double>(longestSide) / std::max(full.width, full.height))};
    cv::Mat picture =
        reducedColour(whole, {std::max(1, scale.apply(full.width)), std::max(1, scale.apply(full.height))});
    const std::int32_t frameSide = scale.apply(std::min(mosaic.frameSize.width, mosaic.frameSize.height));
    const Marks marks(frameSide, std::max(picture.cols, picture.rows));

    std::vector<cv::Point> centres;
    for (std::size_t k = 0; k < mosaic.path.size(); ++k) {
        const cv::Rect frame(mosaic.path[k], mosaic.frameSize);
        if (marks.outlines)
            drawOutline(picture, {scale(frame.tl()), scale(frame.br())}, colourAt(k, mosaic.path.size()),
                        marks.line);
        centres.push_back(scale((frame.tl() + frame.br()) / 2));
    }
    drawPath(picture, centres, marks);
    return picture;
}

}  // namespace brantel::programs
