#include "pictures/stack_plan.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

std::string ome(const std::string& sizes, int images = 1) {
    std::string text = "<?xml version=\"1.0\"?><OME>";
    for (int k = 0; k < images; ++k) text += "<Image ID=\"Image:0\"><Pixels " + sizes + "/></Image>";
    return text + "</OME>";
}

TEST(StackPlan, APlainStackHasAFrameOnEveryPage) {
    EXPECT_FALSE(planOf("", 12, 1).has_value());
    EXPECT_FALSE(planOf("ImageJ=1.53t\nimages=12\nslices=12\n", 12, 1).has_value());
    EXPECT_FALSE(
        planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"1\" SizeZ=\"1\" SizeT=\"12\""), 12, 1).has_value());
    EXPECT_FALSE(
        planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"1\" SizeZ=\"12\" SizeT=\"1\""), 12, 1).has_value());
}

TEST(StackPlan, ASinglePageOfASetOfFilesIsOneFrame) {
    EXPECT_FALSE(
        planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"2\" SizeZ=\"5\" SizeT=\"9\""), 1, 1).has_value());
}

TEST(StackPlan, TheColoursOfAPixelAreNoChannelsOfTheStack) {
    EXPECT_FALSE(
        planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"3\" SizeZ=\"1\" SizeT=\"4\""), 4, 3).has_value());
}

TEST(StackPlan, FollowsTheOrderOfTheDimensions) {
    const auto fast = planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"2\" SizeZ=\"5\" SizeT=\"9\""), 90, 1);
    ASSERT_TRUE(fast.has_value());
    EXPECT_EQ(fast->step, 10U);
    EXPECT_EQ(fast->count, 9U);
    EXPECT_EQ(fast->what, "2 channels and 5 focus planes of 9 places");
    const auto slow = planOf(ome("DimensionOrder=\"XYTCZ\" SizeC=\"2\" SizeZ=\"1\" SizeT=\"9\""), 18, 1);
    ASSERT_TRUE(slow.has_value());
    EXPECT_EQ(slow->step, 1U);
    EXPECT_EQ(slow->count, 9U);
}

TEST(StackPlan, SeriesFollowEachOther) {
    const auto plan = planOf(ome("DimensionOrder=\"XYCZT\" SizeC=\"2\" SizeZ=\"1\" SizeT=\"1\"", 20), 40, 1);
    ASSERT_TRUE(plan.has_value());
    EXPECT_EQ(plan->step, 2U);
    EXPECT_EQ(plan->count, 20U);
}

TEST(StackPlan, DamagedDescriptionsAreNoDescriptions) {
    for (const char* text :
         {"<OME SizeC=\"", "<OME SizeC=\"x\"", "<OME DimensionOrder=\"XY", "ImageJ=\nchannels="})
        EXPECT_FALSE(planOf(text, 4, 1).has_value()) << text;
}

TEST(PicturesWithoutPages, AreThoseThatImageJCountsBeyondTheFirst) {
    EXPECT_EQ(picturesWithoutPages("ImageJ=1.53t\nimages=500\n", 1), 500U);
    EXPECT_EQ(picturesWithoutPages("ImageJ=1.53t\nimages=500\n", 500), 0U);
    EXPECT_EQ(picturesWithoutPages("ImageJ=1.53t\n", 1), 0U);
    EXPECT_EQ(picturesWithoutPages("", 1), 0U);
}

}  // namespace
}  // namespace brantel::programs
