// What waits is bounded by number and by memory, and what is kept of placed frames, too.
#include <string>

#include "session/opened.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;
constexpr std::int64_t kept = 512 << 10;  // bytes that a frame is counted with beside its pixels

/// Frames of different pictures, which nothing joins.
std::vector<std::uint8_t> strange(std::uint64_t seed) {
    return makePicture(Texture::fine, rows, cols, 1, seed).pixels;
}

brantel_settings waitingUpTo(std::int32_t frames, std::int64_t memory) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.waiting_frames = frames;
    settings.memory = memory;
    return settings;
}

/// How many of the frames added still wait; all that were refused had to make room, the oldest ones first.
int waitingOf(const Opened& session, std::int64_t count) {
    int waiting = 0;
    for (std::int64_t i = 1; i < count; ++i) {
        const brantel_frame frame = session.frame(i);
        if (frame.state == BRANTEL_WAITING) {
            EXPECT_EQ(frame.reason, BRANTEL_NOTHING_JOINS);
            ++waiting;
            continue;
        }
        EXPECT_EQ(frame.state, BRANTEL_REFUSED);
        EXPECT_EQ(frame.reason, BRANTEL_NO_ROOM_TO_WAIT);
        EXPECT_EQ(waiting, 0) << "frame " << i << " is newer than one that waits";
    }
    return waiting;
}

int waitingAfter(std::int64_t count, const brantel_settings& settings) {
    Opened session(settings);
    for (std::int64_t i = 0; i < count; ++i) {
        const brantel_answer answer = session.add(strange(static_cast<std::uint64_t>(i) + 100));
        if (i == 0) continue;
        EXPECT_EQ(answer.state, BRANTEL_WAITING);
        const bool refused = (answer.changes & BRANTEL_EARLIER_REFUSED) != 0;
        EXPECT_EQ(refused, i > settings.waiting_frames ||
                               i * (rows * cols + kept) > settings.memory - settings.memory / 4)
            << i;
    }
    return waitingOf(session, count);
}

TEST(SessionBounds, WaitingFramesAreLimitedByNumber) {
    EXPECT_EQ(waitingAfter(9, waitingUpTo(5, std::int64_t{512} << 20)), 5);
    EXPECT_EQ(waitingAfter(9, waitingUpTo(64, std::int64_t{512} << 20)), 8);
}

TEST(SessionBounds, WaitingFramesAreLimitedByMemory) {
    EXPECT_EQ(waitingAfter(9, waitingUpTo(64, 4 * (rows * cols + kept))), 3)
        << "three quarters of it are theirs";
}

TEST(SessionBounds, NoneWaitsWhereNoneMay) {
    for (const brantel_settings& settings : {waitingUpTo(0, std::int64_t{512} << 20), waitingUpTo(64, 0)}) {
        Opened session(settings);
        session.add(strange(1));
        const brantel_answer answer = session.add(strange(2));
        EXPECT_EQ(answer.state, BRANTEL_REFUSED);
        EXPECT_EQ(answer.reason, BRANTEL_NOTHING_JOINS);
    }
}

TEST(SessionBounds, WhatIsGivenUpOfPlacedFramesChangesNoPlace) {
    const Picture picture = makePicture(Texture::fine, 800, 1200, 1, 8);
    std::vector<brantel_frame> frames[2];
    for (const bool small : {false, true}) {
        brantel_settings settings = settingsFor(240, 320);
        settings.memory = small ? 0 : std::int64_t{512} << 20;
        settings.waiting_frames = 0;
        Opened session(settings);
        for (std::int32_t y = 0; y < 4; ++y)
            for (std::int32_t x = 0; x < 6; ++x) session.add(picture.window(x * 170, y * 120, 240, 320));
        for (std::int64_t i = 0; i < 24; ++i) frames[small ? 1 : 0].push_back(session.frame(i));
        EXPECT_EQ(session.map(1).frames, 24) << "each row begins beside the one before";
    }
    for (std::size_t i = 0; i < 24; ++i) {
        EXPECT_NEAR(frames[0][i].x, frames[1][i].x, 1) << i;
        EXPECT_NEAR(frames[0][i].y, frames[1][i].y, 1) << i;
    }
}

}  // namespace
}  // namespace brantel::test
