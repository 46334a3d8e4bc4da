// A thousand frames with failures among them.
#include <gtest/gtest.h>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 220;
constexpr std::int32_t cols = 260;

TEST(LongStream, AThousandFramesWithFailuresInBetweenStayInPlace) {
    const Picture picture = makePicture(Texture::fine, 1200, 1400, 3, 91);
    Session session({rows, cols, 3});
    const Path path = randomPath({500, 400}, {0, 0}, {1140, 980}, 30, 80, 1000, 17);
    const Frame black(std::size_t{rows} * cols * 3, 1);
    const FollowReport report =
        follow(session, picture, path, rows, cols, [&](Frame& frame, std::size_t number) {
            if (number % 50 == 49) frame = black;  // a closed shutter
        });
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_LE(report.worstError, 2) << report.summary();
    EXPECT_GE(report.refused, 20) << report.summary();
    EXPECT_GE(report.placed, 850) << report.summary();
}

}  // namespace
}  // namespace brantel::test
