// Streams whose shift is roughly known beforehand, at overlaps too thin for the whole-frame search.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 480;
constexpr std::int32_t cols = 640;

struct Shift {
    const char* name;
    std::int32_t dx;
    std::int32_t dy;
};

std::ostream& operator<<(std::ostream& out, const Shift& each) {
    return out << each.name;
}

/// The interface wants the row shift turned round when the column shift is negative.
void expectShift(Session& session, std::int32_t dx, std::int32_t dy) {
    session.expect(dx, dx < 0 ? -dy : dy);
}

class ExpectedShift : public testing::TestWithParam<Shift> {};
INSTANTIATE_TEST_SUITE_P(Directions, ExpectedShift,
                         testing::Values(Shift{"right", 500, 0}, Shift{"left", -500, 0},
                                         Shift{"down", 0, 370}, Shift{"up", 0, -370},
                                         Shift{"rightDown", 400, 200}, Shift{"rightUp", 400, -200},
                                         Shift{"leftDown", -400, 200}, Shift{"leftUp", -400, -200}),
                         [](const auto& info) { return info.param.name; });

FollowReport followExpecting(const Shift& shift, std::int32_t errorX, std::int32_t errorY) {
    constexpr std::int32_t count = 3;
    const std::int32_t width = cols + count * std::abs(shift.dx);
    const std::int32_t height = rows + count * std::abs(shift.dy);
    const Picture picture = makePicture(Texture::fine, height, width, 1, 71);
    Session session({rows, cols, 1, 1, 0, 8});
    expectShift(session, shift.dx + errorX, shift.dy + errorY);
    const Spot from{shift.dx < 0 ? width - cols : 0, shift.dy < 0 ? height - rows : 0};
    return follow(session, picture, straightPath(from, shift.dx, shift.dy, count), rows, cols);
}

TEST_P(ExpectedShift, IsPlacedByTheSignRule) {
    const FollowReport report = followExpecting(GetParam(), 0, 0);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed, 4) << report.summary();
}

TEST_P(ExpectedShift, MayBeAFewPixelsOff) {
    const Shift shift = GetParam();
    const FollowReport report = followExpecting(shift, shift.dx == 0 ? 0 : 4, shift.dy == 0 ? 0 : -4);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_EQ(report.placed, 4) << report.summary();
}

TEST(ExpectedShiftSign, WithoutTheRuleADiagonalToTheLeftLooksInTheWrongCorners) {
    const Shift shift{"", -400, 200};
    const Picture picture = makePicture(Texture::fine, rows + 200, cols + 400, 1, 71);
    Session session({rows, cols, 1, 1, 0, 8});
    Frame first = picture.window(400, 0, rows, cols);
    const Frame second = picture.window(0, 200, rows, cols);
    session.expect(shift.dx, shift.dy);
    EXPECT_EQ(session.start(first, second).result, -1)
        << "the two corners searched do not show the same place";
    expectShift(session, shift.dx, shift.dy);
    const StitchOutputs out = session.start(first, second);
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(out.flags.offset.x, -400);
    EXPECT_EQ(out.flags.offset.y, 200);
}

TEST(ExpectedShiftParity, OffsetsDifferFromTheExpectedOneByEvenNumbers) {
    const Picture picture = makePicture(Texture::fine, rows, cols + 300, 1, 72);
    Session session({rows, cols, 1, 1, 0, 8});
    Frame first = picture.window(0, 0, rows, cols);
    session.expect(301, 0);
    const StitchOutputs out = session.start(first, picture.window(301 - 8, 0, rows, cols));
    ASSERT_EQ(out.result, 0);
    EXPECT_EQ(out.flags.offset.x, 293);
    EXPECT_EQ(out.flags.offset.y, 0);
}

TEST(ExpectedShiftPerCall, AnswersARefusalOfTheWholeFrameSearch) {
    // a refused call changes nothing, so that the same frame may be tried again with what is known of it
    const Picture picture = makePicture(Texture::fine, rows, cols + 660, 1, 73);
    Session session({rows, cols, 1, 1, 0, 8});
    Frame first = picture.window(0, 0, rows, cols);
    ASSERT_EQ(session.start(first, picture.window(140, 0, rows, cols)).result, 0);
    const Frame thin = picture.window(140 + 520, 0, rows, cols);
    session.expect(-520, 0);
    EXPECT_EQ(session.next(thin).result, -1) << "expected on the wrong side";
    session.expect(520, 0);
    const StitchOutputs out = session.next(thin);
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(out.flags.offset.x, 520);
    EXPECT_EQ(out.maxCorner.x - out.minCorner.x, cols + 660);
}

}  // namespace
}  // namespace brantel::test
