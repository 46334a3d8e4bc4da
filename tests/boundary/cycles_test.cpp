// A hundred lives of the library in one process leave nothing behind.
#include "boundary/fixture.h"
#include "support/left_behind.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;

class Cycles : public BoundaryTest {
  protected:
    void cycle() {
        ASSERT_TRUE(init(rows, cols, 1, 8, cycles_ % 2));
        GuardedFrame first = frame(0, 0, rows, cols, 1);
        GuardedFrame second = frame(20, 8, rows, cols, 1);
        GuardedFrame third = frame(40, 16, rows, cols, 1);
        EXPECT_EQ(stitch(first.get(), second.get(), 0).result, 0);
        EXPECT_EQ(stitchExpecting(nullptr, third.get(), 1, 1, 20, 8).result, 0);
        EXPECT_EQ(stitch(nullptr, nullptr, 1).result, -1);
        if (cycles_ % 3 == 0) {
            EXPECT_TRUE(init(rows, cols, 1));
        }
        EXPECT_TRUE(uinitJoint());
        ++cycles_;
    }

    int cycles_ = 0;
};

TEST_F(Cycles, OfInitFramesUninitLeaveNothingBehind) {
    expectNothingLeftBehind([&] { cycle(); });
}

}  // namespace
}  // namespace brantel::test
