#include "stitch/tally.h"

#include <gtest/gtest.h>

namespace brantel::programs {
namespace {

FrameReport placedFrame(Shift offset, std::optional<Shift> expected = std::nullopt) {
    FrameReport frame;
    frame.placed = true;
    frame.attempts = 1;
    frame.milliseconds = 5;
    frame.offset = offset;
    frame.expected = expected;
    return frame;
}

FrameReport refusedFrame(Reason reason) {
    FrameReport frame;
    frame.reason = reason;
    frame.attempts = 1;
    return frame;
}

TEST(Tally, CountsSkipsApartFromRefusals) {
    Tally tally;
    tally.add(placedFrame({30, 0}));
    tally.add(refusedFrame(Reason::shiftTooSmall));
    tally.add(refusedFrame(Reason::shiftTooSmall));
    tally.add(refusedFrame(Reason::motion));
    EXPECT_EQ(tally.frames(), 4U);
    EXPECT_EQ(tally.placed(), 1U);
    EXPECT_EQ(tally.skipped(), 2U);
    EXPECT_EQ(tally.refused(), 1U);
    EXPECT_EQ(tally.refusalsText(), "1 motion");
}

TEST(Tally, ALaterReportOfAFrameReplacesTheEarlierOne) {
    Tally tally;
    FrameReport frame = refusedFrame(Reason::noPartner);
    tally.add(frame);
    EXPECT_EQ(tally.refusalsText(), "1 no frame joined it");
    frame.before = saidBy(frame);
    frame.placed = frame.startsMosaic = true;
    tally.add(frame);
    EXPECT_EQ(tally.frames(), 1U);
    EXPECT_EQ(tally.placed(), 1U);
    EXPECT_EQ(tally.refused(), 0U);
    EXPECT_EQ(tally.refusalsText(), "");
}

TEST(Tally, AFrameThatWaitsIsRefusedUntilItIsPlaced) {
    Tally tally;
    FrameReport frame = refusedFrame(Reason::nothingJoins);
    frame.number = 3;
    frame.name = "early.png";
    frame.waiting = true;
    tally.add(frame);
    FrameReport other = refusedFrame(Reason::nothingJoins);
    other.number = 9;
    other.name = "late.png";
    other.waiting = true;
    tally.add(other);
    EXPECT_EQ(tally.waiting(), 2U);
    EXPECT_EQ(tally.refused(), 2U);
    frame.before = saidBy(frame);
    frame.waiting = false;
    frame.placed = true;
    tally.add(frame);
    EXPECT_EQ(tally.waiting(), 1U);
    EXPECT_EQ(tally.refused(), 1U);
    EXPECT_EQ(tally.placed(), 1U);
    EXPECT_EQ(tally.placedLater(), 1U);
    ASSERT_EQ(tally.examples().at(Reason::nothingJoins).size(), 1U);
    EXPECT_EQ(tally.examples().at(Reason::nothingJoins).begin()->second.name, "late.png");
    other.before = saidBy(other);
    other.waiting = false;
    other.reason = Reason::shiftTooSmall;
    tally.add(other);
    EXPECT_EQ(tally.waiting(), 0U);
    EXPECT_EQ(tally.skipped(), 1U);
    EXPECT_EQ(tally.refused(), 0U);
    EXPECT_EQ(tally.placedLater(), 1U) << "it is not in a mosaic";
}

TEST(Tally, APlacedFrameThatMovesCountsOnce) {
    Tally tally;
    FrameReport frame = placedFrame({30, 0}, Shift(28, 0));
    tally.add(frame);
    frame.before = saidBy(frame);
    frame.map = 2;
    tally.add(frame);
    EXPECT_EQ(tally.frames(), 1U);
    EXPECT_EQ(tally.placed(), 1U);
    EXPECT_EQ(tally.offsetErrors().compared, 1U);
    EXPECT_EQ(tally.stitched(), 1U);
    EXPECT_EQ(tally.placedLater(), 0U);
}

TEST(Tally, ComparesOffsetsWithWhatWasExpected) {
    Tally tally;
    tally.add(placedFrame({30, 0}, Shift(30, 0)));
    tally.add(placedFrame({30, 0}, Shift(28, -3)));
    tally.add(placedFrame({30, 0}));
    FrameReport refused = refusedFrame(Reason::motion);
    refused.expected = Shift(900, 0);
    tally.add(refused);
    EXPECT_EQ(tally.offsetErrors().compared, 2U);
    EXPECT_EQ(tally.offsetErrors().exact, 1U);
    EXPECT_EQ(tally.offsetErrors().largest, 3);
}

TEST(Tally, NoticesAxesThatPointTheOtherWay) {
    Tally tally;
    for (int k = 0; k < 3; ++k) tally.add(placedFrame({-200, 2}, Shift(204, 0)));
    tally.add(placedFrame({0, 150}, Shift(0, 148)));
    EXPECT_TRUE(tally.agreementX().mirrored());
    EXPECT_FALSE(tally.agreementY().mirrored());
    Tally right;
    for (int k = 0; k < 3; ++k) right.add(placedFrame({200, 2}, Shift(204, 0)));
    right.add(placedFrame({-200, 2}, Shift(204, 0)));
    EXPECT_FALSE(right.agreementX().mirrored());
}

TEST(Tally, AnOffsetThatTheExpectationLedToProvesNothing) {
    Tally tally;
    for (int k = 0; k < 3; ++k) {
        FrameReport frame = placedFrame({-200, 2}, Shift(204, 0));
        frame.usedExpected = true;
        tally.add(frame);
    }
    EXPECT_FALSE(tally.agreementX().mirrored());
}

}  // namespace
}  // namespace brantel::programs
