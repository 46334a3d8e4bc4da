#include "stitch/advice.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

FrameReport refusedFrame(Reason reason) {
    FrameReport frame;
    frame.name = "f.png";
    frame.reason = reason;
    frame.attempts = 1;
    frame.expected = Shift(200, 0);
    return frame;
}

std::string adviceOn(Reason reason, const Options& options) {
    Tally tally;
    tally.add(refusedFrame(reason));
    const std::vector<std::string> hints = hintsFor(tally, options);
    return hints.empty() ? "" : hints.front();
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Advice, NamesTheFrameTheCauseAndTheNextStep) {
    const std::string advice = adviceOn(Reason::tooFewMatches, {});
    EXPECT_TRUE(contains(advice, "1 frame refused for too few matches, first f.png: ")) << advice;
    EXPECT_TRUE(contains(advice, "overlap")) << advice;
    for (const char* way : {"--density 16", "--positions", "--on-lost restart"})
        EXPECT_TRUE(contains(advice, way)) << advice;
}

TEST(Advice, NamesNoOptionThatWasGiven) {
    Options options;
    options.session.densityLevel = 16;
    options.positions = "stage.csv";
    options.onLost = OnLost::restart;
    const std::string advice = adviceOn(Reason::tooFewMatches, options);
    EXPECT_FALSE(contains(advice, "--")) << advice;
    EXPECT_TRUE(contains(advice, "take the frames with more overlap")) << advice;
    options.positions.clear();
    options.grid = Grid{2, 2, false, 0.2};
    EXPECT_FALSE(contains(adviceOn(Reason::tooFewMatches, options), "--"));
}

TEST(Advice, ForAFrameThatNothingJoinsNamesWhatSearchingCannotDo) {
    Options options;
    std::string advice = adviceOn(Reason::nothingJoins, options);
    EXPECT_TRUE(contains(advice, "1 frame refused for nothing joins it, first f.png: ")) << advice;
    EXPECT_TRUE(contains(advice, "--positions or --grid")) << advice;
    EXPECT_FALSE(contains(advice, "--trust-positions")) << "without positions it is refused: " << advice;
    EXPECT_FALSE(contains(advice, "--on-lost")) << "another mosaic begins by itself: " << advice;
    options.positions = "stage.csv";
    advice = adviceOn(Reason::nothingJoins, options);
    EXPECT_TRUE(contains(advice, "try --trust-positions")) << advice;
    options.session.trustPositions = true;
    advice = adviceOn(Reason::nothingJoins, options);
    EXPECT_FALSE(contains(advice, "--")) << advice;
    EXPECT_TRUE(contains(advice, "take the frames with more overlap")) << advice;
    options = {};
    options.expected = Shift(100, 0);
    EXPECT_FALSE(contains(adviceOn(Reason::nothingJoins, options), "--")) << "a step is no measured place";
}

TEST(Advice, WithoutSearchNamesTheSearch) {
    Options options;
    EXPECT_FALSE(contains(adviceOn(Reason::tooFewMatches, options), "--no-search"));
    options.session.search = false;
    EXPECT_TRUE(contains(adviceOn(Reason::tooFewMatches, options), "try without --no-search, "));
}

TEST(Advice, TellsOfFramesThatLieElsewhereThanExpected) {
    Tally tally;
    for (const char* name : {"a.png", "b.png"}) {
        FrameReport frame;
        frame.number = 5;
        frame.name = name;
        frame.placed = frame.contradicts = true;
        frame.joins = 4;
        frame.offset = Shift(100, 3);
        frame.expected = Shift(250, 0);
        tally.add(frame);
    }
    Options options;
    options.positions = "stage.csv";
    ASSERT_EQ(hintsFor(tally, options).size(), 1U);
    EXPECT_EQ(
        hintsFor(tally, options).front(),
        "2 frames placed elsewhere than was expected, first a.png: by 100,3 instead of 250,0 pixels beside "
        "frame 4; the pictures were certain");
}

TEST(Advice, NamesStrictLimitsOnlyWhereTheyAreInForce) {
    Options options;
    EXPECT_FALSE(contains(adviceOn(Reason::motion, options), "--static"));
    EXPECT_TRUE(contains(adviceOn(Reason::motion, options), "--mode brightness"));
    EXPECT_TRUE(contains(adviceOn(Reason::brightness, options), "--mode motion"));
    options.session.staticFlag = 1;
    EXPECT_TRUE(contains(adviceOn(Reason::motion, options), "try without --static"));
    EXPECT_TRUE(contains(adviceOn(Reason::brightness, options), "try without --static"));
}

TEST(Advice, SaysWhatStandsStillInThePicture) {
    const std::string advice = adviceOn(Reason::contradicted, {});
    EXPECT_TRUE(contains(advice, "should have moved by 200,0")) << advice;
    EXPECT_TRUE(contains(advice, "scale bar")) << advice;
}

TEST(Advice, IsSilentAboutNormalSkips) {
    Tally tally;
    FrameReport placed;
    placed.placed = true;
    tally.add(placed);
    tally.add(refusedFrame(Reason::shiftTooSmall));
    EXPECT_TRUE(hintsFor(tally, {}).empty());
}

TEST(NothingPlaced, SaysWhy) {
    EXPECT_TRUE(contains(nothingPlaced(Tally()), "there was no frame"));
    Tally tally;
    tally.add(refusedFrame(Reason::noPartner));
    EXPECT_EQ(nothingPlaced(tally),
              "one frame alone makes no mosaic, and none was written (1 no frame joined it)");
    tally.add(refusedFrame(Reason::shiftTooSmall));
    EXPECT_EQ(nothingPlaced(tally),
              "no two of 2 frames could be joined, and none was written (1 no frame joined it, 1 shift below "
              "10 %)");
    ASSERT_EQ(hintsFor(tally, {}).size(), 1U);
    EXPECT_TRUE(contains(hintsFor(tally, {}).front(), "show the same place"));
}

TEST(Hints, NameTheAxisThatIsMirrored) {
    Tally tally;
    for (int k = 0; k < 3; ++k) {
        FrameReport frame;
        frame.placed = true;
        frame.attempts = 1;
        frame.expected = Shift(0, 200);
        frame.offset = Shift(0, -202);
        tally.add(frame);
    }
    Options options;
    options.positions = "stage.csv";
    ASSERT_EQ(hintsFor(tally, options).size(), 1U);
    EXPECT_TRUE(contains(hintsFor(tally, options).front(), "try --flip-y"));
    options.flipY = true;
    EXPECT_TRUE(contains(hintsFor(tally, options).front(), "try without --flip-y"));
    EXPECT_TRUE(hintsFor(tally, {}).empty()) << "a constant step has no axes";
}

TEST(Hints, NameARangeThatIsWideEnough) {
    Tally tally;
    FrameReport frame;
    frame.placed = true;
    frame.origin.range = Range{300, 2200};
    frame.beyond = 4095;
    tally.add(frame);
    ASSERT_EQ(hintsFor(tally, {}).size(), 1U);
    EXPECT_TRUE(contains(hintsFor(tally, {}).front(), "--range 300,4095"));
}

}  // namespace
}  // namespace brantel::programs
