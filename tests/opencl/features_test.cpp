// Corners and descriptors of both frames of a call, against the reference.
#include <algorithm>
#include <tuple>

#include "opencl/features_machine.h"
#include "reference/descriptors.h"

namespace brantel::test {

namespace {

/// (channels, columns)
class OpenClFeatures : public FeaturesMachine, public ::testing::WithParamInterface<std::tuple<int, int>> {
  protected:
    std::vector<std::uint16_t> referenceDescriptors(const Frame& grey, std::vector<CornerPoint> corners) {
        Frame withZeroRow = grey;
        withZeroRow.resize(withZeroRow.size() + static_cast<std::size_t>(frame().cols));
        std::vector<std::uint16_t> scratch(descriptorLength);
        std::vector<std::uint16_t> out(corners.size() * descriptorLength);
        EXPECT_TRUE(reference::buildCornerDescriptors(toOutput(), withZeroRow.data(), frame().rows,
                                                      frame().cols, descriptorLength, descriptorWindow,
                                                      corners, scratch.data(), out.data()));
        return out;
    }
};

TEST_P(OpenClFeatures, AreTheReferencesInBothFrames) {
    const auto [channels, width] = GetParam();
    openSize(rows, width, channels);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 40)).out.result, 0);
    for (const OpenclSide* side : {&engine().previousSide, &engine().currentSide}) {
        const Frame grey = greyOfSide(*side);
        const std::vector<CornerPoint> corners = referenceCorners(grey.data(), rows, width);
        EXPECT_GT(corners.size(), 100U);
        EXPECT_EQ(side->features.corners, corners);
        const std::vector<std::uint16_t> descriptors = referenceDescriptors(grey, corners);
        EXPECT_TRUE(std::equal(descriptors.begin(), descriptors.end(), side->features.descriptors.data()));
    }
}
INSTANTIATE_TEST_SUITE_P(ChannelsAndWidths, OpenClFeatures,
                         ::testing::Combine(::testing::Values(1, 3), ::testing::Values(300, 301, 641)));

class OpenClOddWidths : public FeaturesMachine {};

TEST_F(OpenClOddWidths, ArePackedIntoABufferOfTheirOwn) {
    openSize(rows, 301, 1);
    forget();
    ASSERT_EQ(start(frameAt(20, 20), frameAt(20, 110)).out.result, 0);
    EXPECT_EQ(traceOf("clEnqueueCopyBufferRect"), Lines(2, "300 216"));
    EXPECT_EQ(traceOf("clCreateBuffer"), Lines(2, std::to_string(rows * 300)));
    forget();
    next(frameAt(20, 20));
    EXPECT_EQ(traceOf("clCreateBuffer"), Lines{});
    tearDownLines();
    EXPECT_EQ(callsOf("clReleaseMemObject"), 33U + 2U + callsOf("clCreateBuffer(host)"));
}

TEST_F(OpenClOddWidths, OfEvenWidthsNothingIsPacked) {
    open(3);
    ASSERT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    EXPECT_EQ(callsOf("clEnqueueCopyBufferRect"), 0U);
    EXPECT_EQ(callsOf("clCreateBuffer"), 0U);
}

TEST_F(OpenClOddWidths, ThatCannotBePackedFailTheCallAndOnlyIt) {
    for (const char* failing : {"clEnqueueCopyBufferRect", "clCreateBuffer"}) {
        openSize(rows, 301, 3);
        fail(failing);
        const CallReport report = start(frameAt(20, 20), frameAt(20, 110));
        EXPECT_EQ(report.out.result, -1) << failing;
        EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "failed clEnqueueCopyBufferRect"), 2);
        fail("");
        EXPECT_EQ(start(frameAt(20, 20), frameAt(20, 110)).out.result, 0) << failing;
        renew();
    }
}

}  // namespace

}  // namespace brantel::test
