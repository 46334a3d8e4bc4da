#include "stitch/reason.h"

#include <brantel/session.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace brantel::programs {
namespace {

TEST(ReasonOf, EveryReasonOfASessionHasANameOfItsOwn) {
    std::set<std::string> names;
    for (std::int32_t reason = BRANTEL_SHIFT_TOO_SMALL; reason <= BRANTEL_MAP_ENDED; ++reason) {
        EXPECT_NE(reasonOf(reason), Reason::libraryFailure) << brantel_reason_text(reason);
        EXPECT_TRUE(names.insert(nameOf(reasonOf(reason))).second) << brantel_reason_text(reason);
    }
    EXPECT_EQ(reasonOf(BRANTEL_NO_REASON), Reason::none);
    EXPECT_EQ(reasonOf(BRANTEL_SHIFT_TOO_SMALL), Reason::shiftTooSmall);
    EXPECT_EQ(reasonOf(BRANTEL_SHIFT_TOO_LARGE), Reason::shiftTooLarge);
    EXPECT_EQ(reasonOf(BRANTEL_TOO_FEW_CORNERS), Reason::tooFewCorners);
    EXPECT_EQ(reasonOf(BRANTEL_TOO_FEW_MATCHES), Reason::tooFewMatches);
    EXPECT_EQ(reasonOf(BRANTEL_BRIGHTNESS), Reason::brightness);
    EXPECT_EQ(reasonOf(BRANTEL_MOTION), Reason::motion);
    EXPECT_EQ(reasonOf(BRANTEL_NOTHING_JOINS), Reason::nothingJoins);
    EXPECT_EQ(reasonOf(BRANTEL_NO_ROOM_TO_WAIT), Reason::noRoomToWait);
    EXPECT_EQ(reasonOf(BRANTEL_MAP_ENDED), Reason::mosaicEnded);
}

TEST(ReasonOf, WhatALaterLibraryMaySayIsAFailure) {
    EXPECT_EQ(reasonOf(BRANTEL_MAP_ENDED + 1), Reason::libraryFailure);
    EXPECT_EQ(reasonOf(-1), Reason::libraryFailure);
}

TEST(Lost, AreFramesWhoseWhereaboutsAreUnknown) {
    for (const Reason reason :
         {Reason::tooFewCorners, Reason::tooFewMatches, Reason::shiftTooLarge, Reason::nothingJoins,
          Reason::noRoomToWait, Reason::contradicted, Reason::outOfMemory})
        EXPECT_TRUE(isLost(reason)) << nameOf(reason);
    for (const Reason reason : {Reason::none, Reason::shiftTooSmall, Reason::brightness, Reason::motion,
                                Reason::unreadable, Reason::wrongSize})
        EXPECT_FALSE(isLost(reason)) << nameOf(reason);
}

}  // namespace
}  // namespace brantel::programs
