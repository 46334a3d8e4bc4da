// The user's own pictures: BRANTEL_TEST_IMAGES names a folder. Right or refused, never wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <opencv2/imgcodecs.hpp>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

namespace fs = std::filesystem;

Picture load(const fs::path& path, bool colour) {
    const cv::Mat image = cv::imread(path.string(), colour ? cv::IMREAD_COLOR : cv::IMREAD_GRAYSCALE);
    Picture picture{image.rows, image.cols, image.empty() ? 1 : image.channels(), {}};
    if (image.empty()) return picture;
    picture.pixels.assign(image.datastart, image.dataend);
    for (std::uint8_t& sample : picture.pixels) sample = std::max<std::uint8_t>(sample, 1);
    return picture;
}

TEST(RealPictures, EveryOverlapIsRightOrRefused) {
    const char* folder = std::getenv("BRANTEL_TEST_IMAGES");
    if (folder == nullptr) GTEST_SKIP() << "BRANTEL_TEST_IMAGES names no folder";
    int pictures = 0;
    int placed = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        for (const bool colour : {false, true}) {
            if (!entry.is_regular_file()) continue;
            const Picture picture = load(entry.path(), colour);
            const std::int32_t rows = std::min(480, picture.rows / 2);
            const std::int32_t cols = std::min(640, picture.cols / 2);
            if (rows < 160 || cols < 160) continue;
            ++pictures;
            for (const std::int32_t percent : {25, 40, 55, 70, 85}) {
                SCOPED_TRACE(entry.path().string() + " " + std::to_string(percent) + " %");
                const std::int32_t dx = cols * (100 - percent) / 200 * 2;
                const std::int32_t dy = rows * (100 - percent) / 200 * 2;
                const std::int32_t across = std::min(4, (picture.cols - cols) / dx);
                const std::int32_t down = std::min(2, (picture.rows - rows) / dy);
                Session session({rows, cols, picture.channels, 1, 0, 8});
                const FollowReport report =
                    follow(session, picture, serpentinePath({0, 0}, dx, dy, across, down), rows, cols);
                EXPECT_EQ(report.wrong, 0) << report.summary();
                placed += report.placed;
            }
        }
    EXPECT_GT(pictures, 0) << "no readable picture in " << folder;
    RecordProperty("pictures", pictures);
    RecordProperty("placed", placed);
}

}  // namespace
}  // namespace brantel::test
