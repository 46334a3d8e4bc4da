// What the CPU backend finds in both frames, also when a shift is expected, against the reference.
#include <gtest/gtest.h>

#include <algorithm>

#include "cpu/state.h"
#include "reference/features.h"
#include "reference/image_ops.h"
#include "registration/expected_overlap.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Points = std::vector<CornerPoint>;

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 260;

/// A mosaic that is begun with two frames, as far as their features.
class CpuFeatures : public testing::Test {
  protected:
    void describe(Bytes first, const Bytes& current, std::int32_t channels,
                  const ExpectedShift& expected = {}) {
        ASSERT_TRUE(cpu_.initJoint({rows, cols, channels, 1, 20000, 20000}, {}));
        StitchCall call{};
        call.firstFrame = first.data();
        call.currentFrame = const_cast<std::uint8_t*>(current.data());  // which is only read
        call.scale = 1;
        cpu_.expected = expected;
        ASSERT_TRUE(cpu_.takeFrames(call));
        cpu_.imageMosaicFun();
    }
    const FrameFeatures& previous() const { return cpu_.previousSide.features; }
    const FrameFeatures& current() const { return cpu_.currentSide.features; }

    RecordingSink sink_;
    const Log log_{sink_};
    CpuEngine cpu_{sink_};
};

Bytes cropOf(const Bytes& frame, const ExpectedOverlap& part) {
    Bytes crop;
    for (std::int32_t r = part.rowStart; r < part.rowEnd; ++r)
        crop.insert(crop.end(), frame.begin() + r * cols + part.colStart,
                    frame.begin() + r * cols + part.colEnd);
    return crop;
}

TEST_F(CpuFeatures, AreTheReferencesForBothFrames) {
    const Bytes first = makePicture(Texture::grid, rows, cols, 1, 6).pixels;
    const Bytes second = makePicture(Texture::fine, rows, cols, 1, 4).pixels;
    describe(first, second, 1);
    const auto expectThose = [this](const FrameFeatures& found, const Bytes& frame) {
        reference::FeatureStage stage(log_, {0, 1, rows, cols}, CornerTuning::forDensity(1));
        stage.run(frame.data());
        const FrameFeatures& expected = stage.features();
        ASSERT_FALSE(expected.corners.empty());
        EXPECT_EQ(found.corners, expected.corners);
        EXPECT_TRUE(std::equal(found.descriptors.data(),
                               found.descriptors.data() + found.corners.size() * descriptorLength,
                               expected.descriptors.data()));
    };
    expectThose(previous(), first);
    expectThose(current(), second);
}

TEST_F(CpuFeatures, OneChannelIsTakenAsItIsThreeAreConverted) {
    const Bytes colour = makePicture(Texture::fine, rows, cols, 3, 5).pixels;
    describe(colour, colour, 3);
    Bytes converted(static_cast<std::size_t>(rows) * cols);
    reference::rgb2gray(log_, colour.data(), rows, cols, converted.data());
    EXPECT_TRUE(std::equal(converted.begin(), converted.end(), cpu_.currentSide.grey.data()));
    const Points corners = current().corners;
    EXPECT_EQ(previous().corners, corners);
    describe(converted, converted, 1);
    EXPECT_TRUE(std::equal(converted.begin(), converted.end(), cpu_.currentSide.grey.data()));
    EXPECT_EQ(current().corners, corners);
}

TEST_F(CpuFeatures, OfAnExpectedOverlapAreItsCropsMovedByItsOrigin) {
    const Bytes frame = makePicture(Texture::fine, rows, cols, 1, 4).pixels;
    for (const auto& [x, y] : {std::pair{-31, -20}, std::pair{-31, 21}, std::pair{30, -21}, std::pair{31, 21},
                               std::pair{0, 41}, std::pair{-55, 0}}) {
        const ExpectedShift expected{x, y, true};
        describe(frame, frame, 1, expected);
        for (const FrameRole role : {FrameRole::previous, FrameRole::current}) {
            const ExpectedOverlap part = expectedOverlap(role, expected, rows, cols);
            reference::FeatureStage stage(log_, part.size(), CornerTuning::forDensity(1));
            stage.run(cropOf(frame, part).data());
            Points corners = stage.features().corners;
            EXPECT_FALSE(corners.empty());
            for (CornerPoint& corner : corners) {
                corner.x += part.colStart;
                corner.y += part.rowStart;
            }
            EXPECT_EQ((role == FrameRole::previous ? previous() : current()).corners, corners);
        }
    }
}

TEST_F(CpuFeatures, AnExpectedShiftOfZeroIsAsNone) {
    const Bytes frame = makePicture(Texture::grains, rows, cols, 1, 4).pixels;
    describe(frame, frame, 1);
    const Points whole = current().corners;
    for (const ExpectedShift& expected : {ExpectedShift{0, 0, true}, ExpectedShift{99, 50, false}}) {
        describe(frame, frame, 1, expected);
        EXPECT_EQ(previous().corners, whole);
        EXPECT_EQ(current().corners, whole);
    }
}

TEST_F(CpuFeatures, AnExpectedShiftAsLargeAsTheFrameLeavesNoCorner) {
    const Bytes frame = makePicture(Texture::fine, rows, cols, 1, 4).pixels;
    for (const auto& [x, y] :
         {std::pair{cols, 0}, std::pair{-cols, 0}, std::pair{0, rows}, std::pair{0, -rows},
          std::pair{5 * cols, -5 * rows}, std::pair{-2147483647 - 1, 2147483647}}) {
        describe(frame, frame, 1, {x, y, true});
        EXPECT_TRUE(previous().corners.empty() && current().corners.empty()) << x << ", " << y;
    }
}

}  // namespace
}  // namespace brantel::test
