#include "stitch/positions.h"

#include <gtest/gtest.h>

#include "scan/scan.h"
#include "stitch/expectation.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

Frame frameNamed(std::size_t index, const std::string& name) {
    Frame frame;
    frame.index = index;
    frame.name = name;
    frame.image = cv::Mat(100, 200, CV_8UC1);
    return frame;
}

Shift expectedBetween(const Expectation& expectation, const Frame& a, const Frame& b) {
    const std::optional<Shift> shift = shiftBetween(expectation.placeOf(a), expectation.placeOf(b));
    return shift.value_or(Shift(-99999, -99999));
}

std::vector<std::optional<Shift>> attemptsAt(const Expectation& expectation, const Frame& a, const Frame& b) {
    return expectation.attempts(shiftBetween(expectation.placeOf(a), expectation.placeOf(b)), b.image.size());
}

TEST(Positions, BelongToFramesByFileName) {
    const Positions positions = Positions::parse("file,x,y\nb.png,10.5,-3\na.png,1,2\n", "stage.csv", 0);
    EXPECT_EQ(*positions.of(frameNamed(0, "somewhere/a.png")), cv::Point2d(1, 2));
    EXPECT_EQ(*positions.of(frameNamed(0, "b.png")), cv::Point2d(10.5, -3));
    EXPECT_FALSE(positions.of(frameNamed(0, "c.png")).has_value());
}

TEST(Positions, WithoutFileNamesFollowTheOrderOfFrames) {
    const Positions positions = Positions::parse("y,x\r\n2,1\r\n4,3\r\n", "stage.csv", 0);
    EXPECT_EQ(*positions.of(frameNamed(1, "film.avi#2")), cv::Point2d(3, 4));
    EXPECT_FALSE(positions.of(frameNamed(2, "film.avi#3")).has_value());
}

TEST(Positions, ReadTheTruthOfAScan) {
    const Positions positions = Positions::parse(truthTable({{0, 0}, {40, 2}}), "truth.csv", 0);
    EXPECT_EQ(*positions.of(frameNamed(5, "scan/frame_0002.png")), cv::Point2d(40, 2));
}

TEST(Positions, NameFileAndLineOfAnError) {
    EXPECT_THROW(Positions::parse("a,b\n1,2\n", "stage.csv", 0), InputError);
    EXPECT_THROW(Positions::parse("", "stage.csv", 0), InputError);
    EXPECT_THROW(Positions::parse("x,y\n1\n", "stage.csv", 0), InputError);
    EXPECT_THROW(Positions::parse("x,y\n1,nan\n", "stage.csv", 0), InputError);
    EXPECT_THROW(Positions::read("no/such.csv", 0), InputError);
    try {
        Positions::parse("x,y\n1,2\n3,4px\n", "stage.csv", 0);
        FAIL();
    } catch (const InputError& error) {
        EXPECT_NE(std::string(error.what()).find("stage.csv, line 3"), std::string::npos);
    }
}

TEST(Positions, InMicrometresNeedThePixelSize) {
    const std::string table = "file,x_um,y_um\na.png,13,-6.5\n";
    const Positions positions = Positions::parse(table, "stage.csv", 0.65);
    const cv::Point2d at = *positions.of(frameNamed(0, "a.png"));
    EXPECT_DOUBLE_EQ(at.x, 20);
    EXPECT_DOUBLE_EQ(at.y, -10);
    try {
        Positions::parse(table, "stage.csv", 0);
        FAIL();
    } catch (const InputError& error) {
        EXPECT_NE(std::string(error.what()).find("--pixel-size"), std::string::npos);
    }
    EXPECT_THROW(Positions::parse("x,y\n1,2\n", "stage.csv", 0.65), InputError);
    EXPECT_EQ(*Positions::parse("x,y,x_um,y_um\n1,2,50,60\n", "s", 0).of(frameNamed(0, "a")),
              cv::Point2d(1, 2));
    EXPECT_EQ(*Positions::parse("x,y,x_um,y_um\n1,2,50,60\n", "s", 10).of(frameNamed(0, "a")),
              cv::Point2d(5, 6));
}

TEST(Positions, ReadWhatASpreadsheetWrites) {
    const Positions positions =
        Positions::parse("\xEF\xBB\xBF\"file\",\"x\",\"y\"\r\n\"a.png\",1,2\r\n\r\n", "s", 0);
    EXPECT_EQ(*positions.of(frameNamed(0, "a.png")), cv::Point2d(1, 2));
}

TEST(Positions, OfOtherFilesAreAnError) {
    Positions positions = Positions::parse("file,x,y\na.png,1,2\nb.png,5,2\n", "stage.csv", 0);
    positions.keepOnly({"scan/b.png", "scan/c.png"});
    EXPECT_EQ(positions.places(0).size(), 1U);
    try {
        positions.keepOnly({"scan/c.png"});
        FAIL();
    } catch (const InputError& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find("stage.csv names no file that is stitched: it has b.png"), std::string::npos)
            << text;
        EXPECT_NE(text.find("c.png"), std::string::npos) << text;
    }
}

TEST(Positions, MayNameThePagesOfAStack) {
    Positions positions = Positions::parse("file,x,y\ns.tif#1,0,0\ns.tif#2,50,0\n", "stage.csv", 0);
    positions.keepOnly({"scan/s.tif"});
    EXPECT_EQ(*positions.of(frameNamed(7, "scan/s.tif#2")), cv::Point2d(50, 0));
}

TEST(Expectation, TurnsAxesRound) {
    Expectation expectation(Positions::parse("x,y\n0,0\n100,30\n", "stage.csv", 0));
    expectation.flip(true, false);
    EXPECT_EQ(expectedBetween(expectation, frameNamed(0, "a"), frameNamed(1, "b")), Shift(-100, 30));
    expectation.flip(false, true);
    EXPECT_EQ(expectedBetween(expectation, frameNamed(0, "a"), frameNamed(1, "b")), Shift(100, -30));
}

TEST(Expectation, OfAGridFollowsTheFrames) {
    const Expectation expectation(Grid{3, 2, true, 0.25});  // frames of 200 x 100
    EXPECT_TRUE(expectation.measured());
    EXPECT_EQ(expectedBetween(expectation, frameNamed(0, "a"), frameNamed(1, "b")), Shift(150, 0));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(2, "a"), frameNamed(3, "b")), Shift(0, 75));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(3, "a"), frameNamed(4, "b")), Shift(-150, 0));
}

TEST(Expectation, KnowsHowLargeTheMosaicWillBe) {
    const cv::Size frame(200, 100);
    EXPECT_EQ(Expectation(Grid{3, 2, true, 0.25}).extent(frame, 6), cv::Size(500, 175));
    const Expectation table(Positions::parse("x,y\n-50,0\n100,30\n5000,0\n", "stage.csv", 0));
    EXPECT_EQ(table.extent(frame, 2), cv::Size(350, 130));
    EXPECT_EQ(table.extent(frame, 0), cv::Size(5250, 130));
    EXPECT_FALSE(Expectation(Shift(5, 0)).extent(frame, 2).has_value());
}

TEST(Expectation, OfPositionsIsTheRoundedDifference) {
    const Expectation expectation(Positions::parse("x,y\n100,50\n20.6,49.4\n", "stage.csv", 0));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(0, "a"), frameNamed(1, "b")), Shift(-79, -1));
    EXPECT_FALSE(
        shiftBetween(expectation.placeOf(frameNamed(0, "a")), expectation.placeOf(frameNamed(2, "c")))
            .has_value());
}

TEST(Expectation, OfAConstantStepGrowsWithTheFramesLeftOut) {
    const Expectation expectation(Shift(-30, 2));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(3, "a"), frameNamed(4, "b")), Shift(-30, 2));
    EXPECT_EQ(expectedBetween(expectation, frameNamed(3, "a"), frameNamed(6, "c")), Shift(-90, 6));
}

TEST(Attempts, UsePositionsOnlyAfterTheWholeFrameFailed) {
    const Expectation expectation(Positions::parse("x,y\n0,0\n150,0\n", "stage.csv", 0));
    const auto attempts = attemptsAt(expectation, frameNamed(0, "a"), frameNamed(1, "b"));
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_FALSE(attempts[0].has_value());
    EXPECT_EQ(attempts[1], Shift(150, 0));
}

TEST(Attempts, UseAConstantStepFirst) {
    const auto attempts = attemptsAt(Expectation(Shift(150, 0)), frameNamed(0, "a"), frameNamed(1, "b"));
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_EQ(attempts[0], Shift(150, 0));
    EXPECT_FALSE(attempts[1].has_value());
}

TEST(Attempts, LeaveOutAShiftWithoutOverlap) {
    const Expectation wide(Shift(200, 0));
    const Expectation high(Shift(0, -100));
    EXPECT_EQ(attemptsAt(wide, frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
    EXPECT_EQ(attemptsAt(high, frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
    EXPECT_EQ(attemptsAt(Expectation(), frameNamed(0, "a"), frameNamed(1, "b")).size(), 1U);
}

}  // namespace
}  // namespace brantel::programs
