#include "stitch/reason.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

constexpr FrameGeometry frame{100, 200, 1};
constexpr std::int32_t brightnessMode = 0;
constexpr std::int32_t motionMode = 1;

StitchFlags recordOf(std::int32_t x, std::int32_t y, std::int32_t passed) {
    StitchFlags record{};
    record.offset = {x, y};
    record.matchCount = 50;
    record.stitch_flags = passed;
    return record;
}

TEST(ReasonFor, AFailureIsToldByTheLibrarysLines) {
    const StitchFlags record = recordOf(0, 0, 0);
    EXPECT_EQ(reasonFor(-1, record, "imageMosaicFun in\nHarrissCornerSPoint size is 0\n", frame, 0),
              Reason::tooFewCorners);
    EXPECT_EQ(reasonFor(-1, record, "HarrissCornerSPoint22222222222 size is 0\n", frame, 0),
              Reason::tooFewCorners);
    EXPECT_EQ(reasonFor(-1, record, "imageMosaicFun in\n", frame, 0), Reason::tooFewMatches);
    EXPECT_EQ(reasonFor(-1, record, "stichingImagedJoint failed: something\n", frame, 0),
              Reason::libraryFailure);
    EXPECT_EQ(reasonFor(-1, record, "worker job failed: something\n", frame, 0), Reason::libraryFailure);
}

TEST(ReasonFor, MemoryThatIsUsedUpIsNamedAsSuch) {
    const StitchFlags record = recordOf(0, 0, 0);
    for (const char* lines :
         {"stichingImagedJoint failed: std::bad_alloc\n",
          "imageMosaicFun in\nworker job failed: std::bad_alloc\n",
          "stichingImagedJoint failed: OpenCV(4.6.0) alloc.cpp:73: error: (-4:Insufficient memory) Failed to "
          "allocate 108000000 bytes in function 'OutOfMemoryError'\n"})
        EXPECT_EQ(reasonFor(-1, record, lines, frame, 0), Reason::outOfMemory) << lines;
}

TEST(ReasonFor, AFrameThatFailedItsTestIsNamedByTheMode) {
    EXPECT_EQ(reasonFor(0, recordOf(60, 0, 0), "", frame, brightnessMode), Reason::brightness);
    EXPECT_EQ(reasonFor(0, recordOf(60, 0, 0), "", frame, motionMode), Reason::motion);
}

TEST(ReasonFor, AShiftIsMeasuredAgainstTheSideOfItsLargerComponent) {
    EXPECT_EQ(reasonFor(0, recordOf(20, 0, 1), "", frame, 0), Reason::shiftTooSmall);
    EXPECT_EQ(reasonFor(0, recordOf(-180, 8, 1), "", frame, 0), Reason::shiftTooLarge);
    EXPECT_EQ(reasonFor(0, recordOf(6, -8, 1), "", frame, 0), Reason::shiftTooSmall);
    EXPECT_EQ(reasonFor(0, recordOf(6, 92, 1), "", frame, 0), Reason::shiftTooLarge);
    EXPECT_EQ(reasonFor(1, recordOf(0, 0, 1), "", frame, 0), Reason::shiftTooSmall);
}

TEST(Lost, AreFramesWhoseWhereaboutsAreUnknown) {
    for (const Reason reason : {Reason::tooFewCorners, Reason::tooFewMatches, Reason::shiftTooLarge,
                                Reason::contradicted, Reason::outOfMemory})
        EXPECT_TRUE(isLost(reason)) << nameOf(reason);
    for (const Reason reason : {Reason::none, Reason::shiftTooSmall, Reason::brightness, Reason::motion,
                                Reason::unreadable, Reason::wrongSize})
        EXPECT_FALSE(isLost(reason)) << nameOf(reason);
}

}  // namespace
}  // namespace brantel::programs
