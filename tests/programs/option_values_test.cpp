#include "stitch/option_values.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

TEST(ParseRaw, TakesASizeAndOneOrThreeChannels) {
    const auto format = parseRaw("640x480x3");
    ASSERT_TRUE(format.has_value());
    EXPECT_EQ(format->width, 640);
    EXPECT_EQ(format->height, 480);
    EXPECT_EQ(format->channels, 3);
    for (const char* text : {"", "640x480", "640x480x2", "0x480x3", "640x-1x3", "640x480x3x1", "640x480x3 ",
                             "640*480*3", "99999999999x1x1", "200000x1x1", "x", "axbxc"})
        EXPECT_FALSE(parseRaw(text).has_value()) << text;
}

TEST(ParsePages, TakesOneToThreePositiveNumbers) {
    EXPECT_EQ(parsePages("4")->first, 4U);
    EXPECT_EQ(parsePages("4")->step, 1U);
    EXPECT_EQ(parsePages("4,2")->step, 2U);
    EXPECT_EQ(parsePages("4,2")->count, 0U);
    EXPECT_EQ(parsePages("4,2,9")->count, 9U);
    for (const char* text : {"", "0", "1,0", "1,2,0", "1,2,3,4", "1,", "-1", "one"})
        EXPECT_FALSE(parsePages(text).has_value()) << text;
}

TEST(ParseLimit, TakesTwoNumbersWithAProductBelowTwoToThe31) {
    EXPECT_EQ(*parseLimit("20000,30000"), std::pair(20000, 30000));
    EXPECT_TRUE(parseLimit("2147483647,1").has_value());
    for (const char* text : {"", "7", "0,5", "5,-1", "65536,32768", "1,2,3"})
        EXPECT_FALSE(parseLimit(text).has_value()) << text;
}

TEST(ParseShift, TakesTwoNumbers) {
    EXPECT_EQ(*parseShift("-120,4"), Shift(-120, 4));
    for (const char* text : {"", "5", "1,2,3", "1.5,2", "a,b"})
        EXPECT_FALSE(parseShift(text).has_value()) << text;
}

}  // namespace
}  // namespace brantel::programs
