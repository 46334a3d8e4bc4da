// What is kept of a frame: its memory, and that giving up the spectrum changes nothing.
#include "coarse/coarse_frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "session/coarse_frames.h"

namespace brantel::test {
namespace {

using session::CoarseFrame;
using session::CoarseMatcher;

void expectEqual(const CoarseShift& a, const CoarseShift& b) {
    EXPECT_EQ(a.verdict, b.verdict);
    for (const auto& [left, right] : {std::pair{a.x, b.x},
                                      {a.y, b.y},
                                      {a.confidence, b.confidence},
                                      {a.low, b.low},
                                      {a.rival, b.rival},
                                      {a.strength, b.strength}})
        EXPECT_EQ(std::memcmp(&left, &right, sizeof left), 0) << left << " and " << right;
}

class CoarseFrames : public testing::Test {
  protected:
    void SetUp() override {
        matcher.prepare(frames.previous.data(), previous);
        matcher.prepare(frames.current.data(), current);
    }
    CoarseShift match() {
        return matcher.match(previous, frames.previous.data(), current, frames.current.data());
    }

    FramePair frames = framesApart(Texture::fine, 480, 640, 333, 44);
    CoarseMatcher matcher{480, 640};
    CoarseFrame previous;
    CoarseFrame current;
};

TEST_F(CoarseFrames, AnswersAreTheSameEveryTime) {
    const CoarseShift first = match();
    matcher.match(current, frames.current.data(), current, frames.current.data());
    expectEqual(match(), first);
    CoarseMatcher another(480, 640);
    CoarseFrame again;
    another.prepare(frames.previous.data(), again);
    expectEqual(another.match(again, frames.previous.data(), current, frames.current.data()), first);
}

TEST_F(CoarseFrames, ADroppedSpectrumIsMadeAnew) {
    const CoarseShift first = match();
    EXPECT_TRUE(previous.hasSpectrum());
    previous.dropSpectrum();
    EXPECT_FALSE(previous.hasSpectrum());
    expectEqual(match(), first);
    EXPECT_TRUE(previous.hasSpectrum());
}

TEST_F(CoarseFrames, FramesAreMovedAndCopied) {
    const CoarseShift first = match();
    CoarseFrame moved = std::move(previous);
    previous = moved;
    expectEqual(match(), first);
    previous = std::move(moved);
    expectEqual(match(), first);
}

TEST_F(CoarseFrames, AFrameIsPreparedAgainForAnotherPicture) {
    const CoarseShift first = match();
    matcher.prepare(frames.current.data(), previous);
    const CoarseShift same = matcher.match(previous, frames.current.data(), current, frames.current.data());
    EXPECT_EQ(same.verdict, CoarseVerdict::certain);
    EXPECT_LE(errorOf(same, 0, 0), 0.01);
    matcher.prepare(frames.previous.data(), previous);
    expectEqual(match(), first);
}

}  // namespace
}  // namespace brantel::test
