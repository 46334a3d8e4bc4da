// The rectangle that holds all placed frames; each axis grows to one side per frame.
#include <gtest/gtest.h>

#include "compose/regions.h"

namespace brantel {
namespace {

struct Bounds {
    CornerPoint minimum;
    CornerPoint maximum;
};

constexpr std::int32_t h = 40;
constexpr std::int32_t w = 60;
constexpr Bounds start{{100, 200}, {300, 500}};

Bounds extended(CornerPoint position, Bounds from = start) {
    Bounds out{};
    EXPECT_FALSE(extendMosaicBounds(from.minimum, from.maximum, h, w, position, &out.minimum, &out.maximum))
        << "its result is always false";
    return out;
}

void expectBounds(const Bounds& b, std::int32_t minX, std::int32_t minY, std::int32_t maxX,
                  std::int32_t maxY) {
    EXPECT_EQ(b.minimum, (CornerPoint{minX, minY}));
    EXPECT_EQ(b.maximum, (CornerPoint{maxX, maxY}));
}

TEST(ExtendMosaicBounds, AFrameInsideChangesNothing) {
    expectBounds(extended({150, 300}), 100, 200, 300, 500);
}

TEST(ExtendMosaicBounds, EachSideIsWidenedByAFrameThatSticksOutThere) {
    expectBounds(extended({90, 300}), 90, 200, 300, 500);
    expectBounds(extended({260, 300}), 100, 200, 320, 500);
    expectBounds(extended({150, 190}), 100, 190, 300, 500);
    expectBounds(extended({150, 480}), 100, 200, 300, 520);
}

TEST(ExtendMosaicBounds, BothAxesAreWidenedTogether) {
    expectBounds(extended({90, 480}), 90, 200, 300, 520);
    expectBounds(extended({260, 190}), 100, 190, 320, 500);
}

TEST(ExtendMosaicBounds, AFrameThatSticksOutOnBothSidesLeavesTheAxisAlone) {
    const Bounds narrow{{100, 200}, {130, 210}};
    expectBounds(extended({90, 190}, narrow), 100, 200, 130, 210);
}

TEST(ExtendMosaicBounds, AFrameThatStartsExactlyAtTheMinimumLeavesTheAxisAlone) {
    const Bounds narrow{{100, 200}, {130, 210}};
    expectBounds(extended({100, 200}, narrow), 100, 200, 130, 210);
}

TEST(ExtendMosaicBounds, AFrameThatEndsExactlyAtTheMaximumDoesNotMoveIt) {
    expectBounds(extended({240, 460}), 100, 200, 300, 500);
    // and one that starts before the minimum but ends exactly at the maximum changes nothing either
    const Bounds exact{{100, 200}, {155, 235}};
    expectBounds(extended({95, 195}, exact), 100, 200, 155, 235);
}

TEST(ExtendMosaicBounds, MayWriteOverItsOwnInputs) {
    CornerPoint minimum{100, 200};
    CornerPoint maximum{300, 500};
    extendMosaicBounds(minimum, maximum, h, w, {90, 480}, &minimum, &maximum);
    EXPECT_EQ(minimum, (CornerPoint{90, 200}));
    EXPECT_EQ(maximum, (CornerPoint{300, 520}));
}

}  // namespace
}  // namespace brantel
