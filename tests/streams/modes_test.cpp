// Both modes, both flags, both channel counts; and the same stream twice.
#include <gtest/gtest.h>

#include "support/at_level.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

using Mode = std::tuple<int, int, int>;  // main mode, static flag, channels

class EveryMode : public testing::TestWithParam<Mode> {};
INSTANTIATE_TEST_SUITE_P(Modes, EveryMode,
                         testing::Combine(testing::Values(0, 1), testing::Values(0, 1),
                                          testing::Values(1, 3)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param) == 0 ? "brightness" : "motion") +
                                    (std::get<1>(info.param) == 0 ? "Wide" : "Strict") +
                                    (std::get<2>(info.param) == 1 ? "Grey" : "Colour");
                         });

TEST_P(EveryMode, PlacesWhatItsTestLetsPass) {
    const auto [mode, flag, channels] = GetParam();
    const Picture picture = makePicture(Texture::fine, 600, 900, channels, 51);
    Session session({rows, cols, channels, mode, flag});
    const Path path = serpentinePath({4, 4}, 100, 90, 4, 2);
    const FollowReport report = follow(session, picture, path, rows, cols);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    if (mode == 1 && flag == 1) {
        // a moving camera over a picture full of contrast is just what the strict motion test keeps out
        EXPECT_EQ(report.placed, 1) << report.summary();
        EXPECT_EQ(report.last.flags.stitch_flags, 0);
    } else {
        EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
        EXPECT_EQ(report.last.flags.stitch_flags, 1);
    }
    if (mode == 0) {
        EXPECT_NEAR(report.last.flags.prevMean, report.last.flags.curMean, 5.0F);
        EXPECT_GT(report.last.flags.prevBrightMean, 10.0F);
    }
}

std::vector<std::uint64_t> hashesOf(const Picture& picture, const Path& path, std::int32_t mode) {
    std::vector<std::uint64_t> hashes;
    Session session({rows, cols, picture.channels, mode});
    Frame first = picture.window(path[0].x, path[0].y, rows, cols);
    for (std::size_t i = 1; i < path.size(); ++i) {
        Frame frame = picture.window(path[i].x, path[i].y, rows, cols);
        addNoise(frame, 2, i);
        const StitchOutputs out = i == 1 ? session.start(first, frame) : session.next(frame);
        hashes.push_back(hashOf(&out.flags, sizeof out.flags));
        hashes.push_back(static_cast<std::uint64_t>(out.result));
        if (i + 1 == path.size()) hashes.push_back(hashOf(out.mosaic));
    }
    return hashes;
}

TEST(Determinism, RepeatedStreamsLeaveTheSameBytes) {
    for (const std::int32_t channels : {1, 3}) {
        const Picture picture = makePicture(Texture::grid, 600, 900, channels, 52);
        const Path path = randomPath({100, 100}, {0, 0}, {500, 300}, 40, 110, 12, 9);
        const auto once = hashesOf(picture, path, channels == 1 ? 0 : 1);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(hashesOf(picture, path, channels == 1 ? 0 : 1), once);
    }
}

TEST(Determinism, EveryInstructionLevelLeavesTheSameBytes) {
    for (const std::int32_t channels : {1, 3}) {
        const Picture picture = makePicture(Texture::fine, 600, 900, channels, 53);
        const Path path = randomPath({100, 100}, {0, 0}, {500, 300}, 40, 110, 10, 4);
        std::vector<std::uint64_t> first;
        for (const simd::Level level : supportedLevels()) {
            SCOPED_TRACE(simd::nameOf(level));
            const ForcedLevel forced(level);
            const auto hashes = hashesOf(picture, path, 0);
            if (first.empty()) first = hashes;
            EXPECT_EQ(hashes, first);
        }
    }
}

}  // namespace
}  // namespace brantel::test
