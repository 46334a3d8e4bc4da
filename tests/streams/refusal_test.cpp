// Every way in which a frame is not placed, and that the stream goes on after each.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/camera_path.h"
#include "support/lines.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 300;
constexpr std::int32_t cols = 400;

class Refusal : public testing::Test {
  protected:
    Picture picture = makePicture(Texture::fine, 700, 1300, 1, 81);
    Session session{{rows, cols}};
    StitchOutputs before;

    void SetUp() override {
        Frame first = frameAt(0);
        before = session.start(first, frameAt(100));
        ASSERT_EQ(before.result, 0);
        ASSERT_EQ(before.flags.offset.x, 100);
    }
    Frame frameAt(std::int32_t x, std::int32_t y = 0) const { return picture.window(x, y, rows, cols); }

    /// The stream goes on where it was, as if nothing had happened.
    void TearDown() override {
        const StitchOutputs after = session.next(frameAt(240, 20));
        EXPECT_EQ(after.result, 0);
        EXPECT_NEAR(after.flags.frameX - before.flags.frameX, 140, 2);
        EXPECT_NEAR(after.flags.frameY - before.flags.frameY, 20, 2);
    }
    void expectUntouched(const StitchOutputs& out, std::int32_t result) const {
        EXPECT_EQ(out.result, result);
        EXPECT_EQ(out.flags.frameX, before.flags.frameX);
        EXPECT_EQ(out.flags.frameY, before.flags.frameY);
        EXPECT_EQ(out.minCorner.x, before.minCorner.x);
        EXPECT_EQ(out.maxCorner.x, before.maxCorner.x);
        EXPECT_EQ(out.mosaic.data, before.mosaic.data);
    }
};

TEST_F(Refusal, NoFrame) {
    expectUntouched(session.next({}), -1);
}

TEST_F(Refusal, NoCorners) {
    StitchOutputs out;
    const Lines lines = captureLines([&] { out = session.next(Frame(std::size_t{rows} * cols, 99)); });
    expectUntouched(out, -1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "HarrissCornerSPoint size is 0"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "goToGetRidOfSomeSPoints CornervalueIn size is 0"), 2);
}

TEST_F(Refusal, NothingInCommon) {
    for (const std::uint64_t seed : {1U, 2U, 3U, 4U, 5U}) {
        expectUntouched(session.next(makePicture(Texture::fine, rows, cols, 1, 900 + seed).pixels), -1);
        expectUntouched(session.next(makePicture(Texture::grains, rows, cols, 1, seed).pixels), -1);
        expectUntouched(session.next(randomBytes(std::int64_t{rows} * cols, seed)), -1);
    }
}

TEST_F(Refusal, NoOverlapLeft) {
    expectUntouched(session.next(frameAt(800, 300)), -1);
}

TEST_F(Refusal, AShiftOfATenth) {
    const StitchOutputs out = session.next(frameAt(140));
    expectUntouched(out, 0);
    EXPECT_EQ(out.flags.offset.x, 40);
}

TEST_F(Refusal, NoShiftAtAll) {
    const StitchOutputs out = session.next(frameAt(100));
    expectUntouched(out, 0);
    EXPECT_EQ(out.flags.offset.x, 0);
    EXPECT_EQ(out.flags.offset.y, 0);
}

TEST(RefusalOfFarShifts, NineTenthsOfTheFrameAreTooFar) {
    constexpr std::int32_t longRows = 300;
    constexpr std::int32_t longCols = 2400;
    const Picture picture = makePicture(Texture::fine, longRows, 4900, 1, 82);
    Session session({longRows, longCols, 1, 1, 0, 8});
    Frame first = picture.window(0, 0, longRows, longCols);
    session.expect(2180, 0);
    const StitchOutputs far = session.start(first, picture.window(2180, 0, longRows, longCols));
    EXPECT_EQ(far.result, 0);
    EXPECT_EQ(far.flags.offset.x, 2180) << "registered";
    EXPECT_EQ(far.flags.frameX, 3000 - longCols / 2) << "but not merged";
    session.expect(2140, 0);
    const StitchOutputs near = session.next(picture.window(2140, 0, longRows, longCols));
    EXPECT_EQ(near.flags.frameX, 3000 - longCols / 2 + 2140)
        << "just below nine tenths, against the same template";
}

TEST(Restart, ANewMosaicAfterAFailureWorksLikeTheFirst) {
    const Picture picture = makePicture(Texture::fine, 700, 1300, 1, 83);
    Session session({rows, cols});
    std::uint64_t hash = 0;
    for (int round = 0; round < 4; ++round) {
        const Path path = serpentinePath({4, 4}, 150, 120, 3, 1);
        const FollowReport report = follow(session, picture, path, rows, cols);
        EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
        EXPECT_EQ(report.worstError, 0);
        const std::uint64_t now = hashOf(report.last.mosaic);
        if (round == 0) hash = now;
        EXPECT_EQ(now, hash);
        EXPECT_EQ(session.next(Frame(std::size_t{rows} * cols, 7)).result, -1);
    }
}

}  // namespace
}  // namespace brantel::test
