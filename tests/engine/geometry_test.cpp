// Which frames are taken at all.
#include "engine/geometry.h"

#include <gtest/gtest.h>

#include "support/lines.h"
#include "support/test_log.h"

namespace brantel {
namespace {

test::Said<bool> usable(std::int32_t rows, std::int32_t cols, std::int32_t channels) {
    return test::listen([&] { return framesAreUsable(test::toOutput(), {rows, cols, channels, 1, 1, 1}); });
}

TEST(FramesAreUsable, WithPositiveSizesAndOneOrThreeChannels) {
    for (const std::int32_t channels : {1, 3}) {
        const auto said = usable(1, 1, channels);
        EXPECT_TRUE(said.result);
        EXPECT_TRUE(said.lines.empty());
    }
    for (const auto& [rows, cols, channels] : {std::tuple{0, 5, 1},
                                               {5, 0, 1},
                                               {-5, 5, 1},
                                               {5, -5, 3},
                                               {5, 5, 0},
                                               {5, 5, 2},
                                               {5, 5, 4},
                                               {5, 5, -1}}) {
        const auto said = usable(rows, cols, channels);
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines,
                  test::Lines{"initJoint refused: rows and columns must be positive, channels 1 or 3"});
    }
}

TEST(FramesAreUsable, WhileTheAreaOfTheirFirstCanvasFitsIntoSigned32Bits) {
    // 6000 rows times 357913 columns are 2147478000 pixels, 6000 times 357914 too many; 2000 columns are margin.
    EXPECT_TRUE(usable(100, 355913, 1).result);
    for (const auto& [rows, cols] :
         {std::pair{100, 355914}, {355914, 100}, {2147483647, 1}, {1, 2147483647}, {46341, 46341}}) {
        const auto said = usable(rows, cols, 1);
        EXPECT_FALSE(said.result) << rows << " x " << cols;
        EXPECT_EQ(said.lines, test::Lines{"initJoint refused: the canvas of such frames would have more than "
                                          "2147483647 pixels"});
    }
}

}  // namespace
}  // namespace brantel
