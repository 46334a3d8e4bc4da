// What lies on the canvas is the picture the camera saw.
#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

/// How many frames of a path cover each pixel of the picture.
std::vector<int> coverage(const Picture& picture, const Path& path) {
    std::vector<int> count(static_cast<std::size_t>(picture.rows) * picture.cols);
    for (const Spot& spot : path)
        for (std::int32_t r = spot.y; r < spot.y + rows; ++r)
            for (std::int32_t c = spot.x; c < spot.x + cols; ++c)
                ++count[static_cast<std::size_t>(r) * picture.cols + c];
    return count;
}

struct Stitched {
    Picture picture;
    FollowReport report;
    std::vector<int> covered;

    /// Canvas samples at the place of a picture's pixel; null off the canvas.
    const std::uint8_t* canvasAt(std::int32_t r, std::int32_t c, const Path& path) const {
        const cv::Mat& canvas = report.last.mosaic;
        return canvas.ptr(r - path[0].y + report.origin.y) +
               static_cast<std::ptrdiff_t>(c - path[0].x + report.origin.x) * picture.channels;
    }
};

Stitched stitch(std::int32_t channels, const Path& path, const Disturb& disturb = nullptr) {
    Stitched out{makePicture(Texture::fine, 700, 900, channels, 41), {}, {}};
    Session session({rows, cols, channels});
    out.report = follow(session, out.picture, path, rows, cols, disturb);
    EXPECT_EQ(out.report.placed, static_cast<int>(path.size())) << out.report.summary();
    EXPECT_EQ(out.report.worstError, 0) << out.report.summary();
    out.covered = coverage(out.picture, path);
    return out;
}

const Path path = serpentinePath({10, 10}, 110, 90, 4, 3);

TEST(Content, ColourOverlapsOfEqualFramesAreExactlyThePicture) {
    const Stitched s = stitch(3, path);
    for (std::int32_t r = 0; r < s.picture.rows; ++r)
        for (std::int32_t c = 0; c < s.picture.cols; ++c) {
            const std::size_t i = static_cast<std::size_t>(r) * s.picture.cols + c;
            const std::uint8_t* at = s.canvasAt(r, c, path);
            for (std::size_t k = 0; k < 3; ++k)
                ASSERT_EQ(at[k], s.covered[i] > 0 ? s.picture.pixels[3 * i + k] : 0) << c << ", " << r;
        }
}

TEST(Content, GreyOverlapsLoseOneLevelPerMergeAtMost) {
    const Stitched s = stitch(1, path);
    for (std::int32_t r = 0; r < s.picture.rows; ++r)
        for (std::int32_t c = 0; c < s.picture.cols; ++c) {
            const std::size_t i = static_cast<std::size_t>(r) * s.picture.cols + c;
            const int sample = *s.canvasAt(r, c, path);
            if (s.covered[i] == 0) {
                ASSERT_EQ(sample, 0);
                continue;
            }
            const int lost = s.picture.pixels[i] - sample;
            ASSERT_GE(lost, 0);
            ASSERT_LE(lost, s.covered[i]) << "the division by 256 takes one level each time";
        }
}

TEST(Content, NothingIsWrittenOutsideThePlacedFrames) {
    for (const std::int32_t channels : {1, 3}) {
        const Stitched s = stitch(channels, path);
        double inside = 0;
        const StitchOutputs& last = s.report.last;
        const cv::Mat occupied =
            last.mosaic(cv::Rect(last.minCorner.x, last.minCorner.y, last.maxCorner.x - last.minCorner.x,
                                 last.maxCorner.y - last.minCorner.y));
        inside = cv::sum(cv::sum(occupied))[0];
        EXPECT_EQ(cv::sum(cv::sum(last.mosaic))[0], inside);
    }
}

TEST(Content, NoiseIsAveragedNotAddedUp) {
    const Path row = straightPath({10, 10}, 110, 0, 4);
    const Stitched s = stitch(3, row, [](Frame& frame, std::size_t number) { addNoise(frame, 2, number); });
    for (std::int32_t r = 0; r < s.picture.rows; ++r)
        for (std::int32_t c = 0; c < s.picture.cols; ++c) {
            const std::size_t i = static_cast<std::size_t>(r) * s.picture.cols + c;
            if (s.covered[i] == 0) continue;
            const std::uint8_t* at = s.canvasAt(r, c, row);
            for (std::size_t k = 0; k < 3; ++k) {
                ASSERT_GE(at[k], s.picture.pixels[3 * i + k] - 2 - s.covered[i]);
                ASSERT_LE(at[k], s.picture.pixels[3 * i + k] + 2);
            }
        }
}

TEST(Content, ABrightnessStepFadesOverTheSeam) {
    // a uniform brightness step: along the seam the canvas passes from the one level to the other
    const Picture picture = makePicture(Texture::fine, 400, 600, 3, 43);
    Session session({rows, cols, 3});
    Frame first = picture.window(0, 0, rows, cols);
    Frame second = picture.window(100, 0, rows, cols);
    changeBrightness(second, 12);
    const StitchOutputs out = session.start(first, second);
    ASSERT_EQ(out.flags.offset.x, 100);
    const std::int32_t y = out.minCorner.y + rows / 2;
    const auto difference = [&](std::int32_t x) {
        return out.mosaic.ptr(y)[std::ptrdiff_t{3} * (out.minCorner.x + x)] -
               picture.pixels[(std::size_t{rows / 2} * picture.cols + x) * 3];
    };
    EXPECT_EQ(difference(90), 0) << "only the first frame";
    EXPECT_EQ(difference(100), 0) << "the new frame has no weight at its own edge";
    EXPECT_EQ(difference(cols + 50), 12) << "only the second frame";
    int last = 0;
    for (std::int32_t x = 100; x < cols; ++x) {
        const int now = difference(x);
        EXPECT_GE(now, last - 1) << "column " << x;
        EXPECT_LE(now, 12);
        last = std::max(last, now);
    }
    EXPECT_GE(last, 10);
}

}  // namespace
}  // namespace brantel::test
