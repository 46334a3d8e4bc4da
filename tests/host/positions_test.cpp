#include "positions.h"

#include <gtest/gtest.h>

#include "files.h"
#include "scan.h"

namespace host {
namespace {

Frame frameNamed(std::size_t index, const std::string& name) {
    return {index, name, cv::Mat(100, 200, CV_8UC1)};
}

Shift expectedBetween(const Expectation& expectation, const Frame& a, const Frame& b) {
    const std::optional<Shift> shift = expectation.between(a, b);
    return shift.value_or(Shift(-99999, -99999));
}

TEST(LibraryArgument, TurnsTheSignOfYRoundForNegativeX) {
    EXPECT_EQ(asLibraryArgument({30, 4}), Shift(30, 4));
    EXPECT_EQ(asLibraryArgument({30, -4}), Shift(30, -4));
    EXPECT_EQ(asLibraryArgument({0, -4}), Shift(0, -4));
    EXPECT_EQ(asLibraryArgument({-30, 4}), Shift(-30, -4));
    EXPECT_EQ(asLibraryArgument({-30, -4}), Shift(-30, 4));
}

TEST(Positions, BelongToFramesByFileName) {
    const Positions positions = Positions::parse("file,x,y\nb.png,10.5,-3\na.png,1,2\n", "stage.csv");
    EXPECT_EQ(*positions.of(frameNamed(0, "somewhere/a.png")), cv::Point2d(1, 2));
    EXPECT_EQ(*positions.of(frameNamed(0, "b.png")), cv::Point2d(10.5, -3));
    EXPECT_FALSE(positions.of(frameNamed(0, "c.png")).has_value());
}

TEST(Positions, WithoutFileNamesFollowTheOrderOfFrames) {
    const Positions positions = Positions::parse("y,x\r\n2,1\r\n4,3\r\n", "stage.csv");
    EXPECT_EQ(*positions.of(frameNamed(1, "film.avi#2")), cv::Point2d(3, 4));
    EXPECT_FALSE(positions.of(frameNamed(2, "film.avi#3")).has_value());
}

TEST(Positions, ReadTheTruthOfAScan) {
    const Positions positions = Positions::parse(truthTable({{0, 0}, {40, 2}}), "truth.csv");
    EXPECT_EQ(*positions.of(frameNamed(5, "scan/frame_0002.png")), cv::Point2d(40, 2));
}

TEST(Positions, NameFileAndLineOfAnError) {
    EXPECT_THROW(Positions::parse("a,b\n1,2\n", "stage.csv"), InputError);
    EXPECT_THROW(Positions::parse("", "stage.csv"), InputError);
    EXPECT_THROW(Positions::parse("x,y\n1\n", "stage.csv"), InputError);
    EXPECT_THROW(Positions::parse("x,y\n1,nan\n", "stage.csv"), InputError);
    EXPECT_THROW(Positions::read("no/such.csv"), InputError);
    try {
        Positions::parse("x,y\n1,2\n3,4px\n", "stage.csv");
        FAIL();
    } catch (const InputError& error) {
        EXPECT_NE(std::string(error.what()).find("stage.csv, line 3"), std::string::npos);
    }
}

TEST(Expectation, OfPositionsIsTheRoundedDifference) {
    const Expectation expectation(Positions::parse("x,y\n100,50\n20.6,49.4\n", "stage.csv"));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(0, "a"), frameNamed(1, "b")), Shift(-79, -1));
    EXPECT_FALSE(expectation.between(frameNamed(0, "a"), frameNamed(2, "c")).has_value());
}

TEST(Expectation, OfAConstantStepGrowsWithTheFramesLeftOut) {
    const Expectation expectation(Shift(-30, 2));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(3, "a"), frameNamed(4, "b")), Shift(-30, 2));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(3, "a"), frameNamed(6, "c")), Shift(-90, 6));
}

TEST(Attempts, UsePositionsOnlyAfterTheWholeFrameFailed) {
    const Expectation expectation(Positions::parse("x,y\n0,0\n150,0\n", "stage.csv"));
    const auto attempts = expectation.attempts(frameNamed(0, "a"), frameNamed(1, "b"));
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_FALSE(attempts[0].has_value());
    EXPECT_EQ(attempts[1], Shift(150, 0));
}

TEST(Attempts, UseAConstantStepFirst) {
    const auto attempts = Expectation(Shift(150, 0)).attempts(frameNamed(0, "a"), frameNamed(1, "b"));
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_EQ(attempts[0], Shift(150, 0));
    EXPECT_FALSE(attempts[1].has_value());
}

TEST(Attempts, LeaveOutAShiftWithoutOverlap) {
    const Expectation wide(Shift(200, 0));
    const Expectation high(Shift(0, -100));
    EXPECT_EQ(wide.attempts(frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
    EXPECT_EQ(high.attempts(frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
    EXPECT_EQ(Expectation().attempts(frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
}

}  // namespace
}  // namespace host
