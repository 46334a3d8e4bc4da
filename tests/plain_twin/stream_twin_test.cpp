// The library and the plain routines, fed with the same stream, leave the same records and the same bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "plain/pipeline.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

/// Where the camera goes.
using Way = Path (*)(std::int32_t rows, std::int32_t cols);

struct Scene {
    const char* name;
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t channels;
    std::int32_t mainMode;
    std::int32_t staticFlag;
    Texture texture;
    std::int32_t noise;
    Way way;
    bool grows;  // the canvas, beyond its first size
};

std::ostream& operator<<(std::ostream& out, const Scene& scene) {
    return out << scene.name;
}

/// Mergeable steps, steps too small to merge, and one too far to register.
Path mixedSteps(std::int32_t rows, std::int32_t cols) {
    const std::int32_t dx = cols / 3;
    const std::int32_t dy = rows / 3;
    Path path = serpentinePath({8, 8}, dx, dy, 2, 1);
    for (std::int32_t i = 1; i <= 4; ++i) path.push_back({path.back().x + 6, path.back().y + 14});
    path.push_back({8, 8});
    path.push_back({path.front().x + dx, path.front().y + 3});
    return path;
}

/// Long frames that leave a new canvas of 6000 pixels after a few steps: to the right and back to the left.
Path acrossTheCanvas(std::int32_t rows, std::int32_t cols) {
    const std::int32_t dx = cols / 4 * 3;
    const Spot middle{8 + 3 * dx, 8 + rows / 8 * 4};
    Path path = straightPath(middle, dx, 0, 2);
    for (std::int32_t i = 1; i <= 4; ++i) path.push_back({path.back().x - dx, path.back().y});
    return path;
}

/// The same downwards and upwards.
Path alongTheCanvas(std::int32_t rows, std::int32_t cols) {
    Path path = acrossTheCanvas(cols, rows);
    for (Spot& spot : path) spot = {spot.y, spot.x};
    return path;
}

void expectSameRecord(const StitchFlags& library, const StitchFlags& plain) {
    EXPECT_EQ(library.offset.x, plain.offset.x);
    EXPECT_EQ(library.offset.y, plain.offset.y);
    EXPECT_EQ(library.matchCount, plain.matchCount);
    std::array<std::uint8_t, sizeof library> libraryBytes{};  // a measure may be NaN, which equals nothing
    std::array<std::uint8_t, sizeof plain> plainBytes{};
    std::memcpy(libraryBytes.data(), &library, sizeof library);
    std::memcpy(plainBytes.data(), &plain, sizeof plain);
    EXPECT_EQ(libraryBytes, plainBytes);
}

void expectSameCanvas(const cv::Mat& library, const cv::Mat& plain) {
    ASSERT_EQ(library.size(), plain.size());
    ASSERT_EQ(library.type(), plain.type());
    ASSERT_TRUE(library.isContinuous() && plain.isContinuous());
    EXPECT_EQ(std::memcmp(library.data, plain.data, plain.total() * plain.elemSize()), 0);
}

class StreamTwin : public testing::TestWithParam<Scene> {};

TEST_P(StreamTwin, GivesTheBytesOfThePlainPipeline) {
    const Scene& scene = GetParam();
    const Path path = scene.way(scene.rows, scene.cols);
    Spot far{0, 0};
    for (const Spot& spot : path) far = {std::max(far.x, spot.x), std::max(far.y, spot.y)};
    const Picture picture =
        makePicture(scene.texture, far.y + scene.rows, far.x + scene.cols, scene.channels, 21);
    Session session({scene.rows, scene.cols, scene.channels, scene.mainMode, scene.staticFlag});
    plain::Pipeline pipeline({scene.rows, scene.cols, scene.channels, 1, 20000, 20000},
                             {scene.mainMode, scene.staticFlag});
    ASSERT_TRUE(session.ready());

    std::vector<std::uint8_t> first;
    int placed = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "frame " << i);
        std::vector<std::uint8_t> frame = picture.window(path[i].x, path[i].y, scene.rows, scene.cols);
        if (scene.noise > 0) addNoise(frame, scene.noise, i + 1);
        for (std::size_t k = 0; k < frame.size(); k += 977) frame[k] = 0;  // zero samples have a meaning
        if (i == 0) {
            first = frame;
            continue;
        }
        std::vector<std::uint8_t> firstAgain = first;
        const StitchFlags before = pipeline.record();
        const StitchOutputs out = i == 1 ? session.start(first, frame) : session.next(frame);
        const bool done =
            i == 1 ? pipeline.start(firstAgain.data(), frame.data()) : pipeline.next(frame.data());
        EXPECT_EQ(first, firstAgain);
        EXPECT_EQ(out.result, done ? 0 : -1);
        expectSameRecord(out.flags, pipeline.record());
        expectSameCanvas(out.mosaic, pipeline.canvas());
        EXPECT_EQ(out.minCorner.x, pipeline.minimum().x);
        EXPECT_EQ(out.minCorner.y, pipeline.minimum().y);
        EXPECT_EQ(out.maxCorner.x, pipeline.maximum().x);
        EXPECT_EQ(out.maxCorner.y, pipeline.maximum().y);
        placed += before.frameX != out.flags.frameX || before.frameY != out.flags.frameY ? 1 : 0;
    }
    EXPECT_EQ(pipeline.canvas().total() > 6000 * 6000, scene.grows);
    EXPECT_GE(placed, 4) << "too few merges to say anything";
}

INSTANTIATE_TEST_SUITE_P(
    Streams, StreamTwin,
    testing::Values(Scene{"grey", 301, 399, 1, 0, 0, Texture::fine, 3, mixedSteps, false},
                    Scene{"colour", 240, 320, 3, 0, 1, Texture::grains, 2, mixedSteps, false},
                    Scene{"greyMotion", 240, 322, 1, 1, 0, Texture::grid, 0, mixedSteps, false},
                    Scene{"colourMotion", 322, 250, 3, 1, 0, Texture::fine, 2, mixedSteps, false},
                    Scene{"growthAcross", 128, 2400, 3, 0, 0, Texture::fine, 2, acrossTheCanvas, true},
                    Scene{"growthAlong", 2400, 160, 1, 0, 0, Texture::fine, 2, alongTheCanvas, true}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace brantel::test
