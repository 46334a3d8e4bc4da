// The corners under an expected shift: what the kernels are given, what they leave, and what is found there.
#include <algorithm>
#include <tuple>

#include "opencl/features_machine.h"

namespace brantel::test {

namespace {

class OpenClRowRange : public FeaturesMachine {
  protected:
    /// A call under an expected shift, of which only the search for corners matters.
    CallReport search(const Frame& first, const Frame& second, ExpectedShift shift) {
        forget();
        return start(first, second, shift);
    }

    /// What the device's memory may have held before.
    void makeDirty() {
        const Frame dirt(static_cast<std::size_t>(frame().pixels()), 77);
        for (const ClBuffer id : {ClBuffer::rowRangeModelCL, ClBuffer::DestTempImageCL})
            ASSERT_TRUE(
                writeBuffer(engine().device, engine().device.buffers[id], dirt.data(), frame().pixels()));
    }

    /// The kernels of both sides ran once, with these numbers.
    void expectNumbers(const std::string& numbers) {
        for (const std::string name : {"getRowRange", "getRowRange2"}) {
            EXPECT_EQ(traceOf("numbers " + name), Lines{numbers});
            EXPECT_EQ(callsOf("range " + name), 1U);
        }
    }

    /// Behind each row of the range a sample of that row, elsewhere nothing.
    void expectOneSampleOfEveryRow(const OpenclSide& side, const RowRange& range) {
        const Frame crop = deviceImage(side.parts.rowRangeImage);
        const Frame grey = greyOfSide(side);
        Frame rest = crop;
        for (std::int32_t y = 0; y < range.rows; ++y) {
            const std::int64_t at = std::int64_t{y + 1} * range.cols;
            const auto row =
                grey.begin() + std::int64_t{y + range.rowOffset} * frame().cols + range.colOffset;
            ASSERT_NE(std::find(row, row + range.cols, crop[static_cast<std::size_t>(at)]), row + range.cols)
                << "row " << y;
            rest[static_cast<std::size_t>(at)] = 0;
        }
        EXPECT_EQ(std::count(rest.begin(), rest.end(), 0), static_cast<std::ptrdiff_t>(rest.size()));
    }

    /// What is found is what the reference finds in the same cut, moved by the shift.
    std::size_t expectTheCutsCorners(const OpenclSide& side, CornerPoint shift) {
        const Frame crop = deviceImage(side.parts.rowRangeImage);
        std::vector<CornerPoint> corners = referenceCorners(crop.data(), frame().rows, frame().cols / 2 * 2);
        for (CornerPoint& corner : corners) corner = {corner.x + shift.x, corner.y + shift.y};
        EXPECT_EQ(side.features.corners, corners);
        return corners.size();
    }

    std::size_t expectSearchedAsExpected(ExpectedShift shift, const RowRange& range) {
        std::size_t corners = 0;
        for (const OpenclSide* side : {&engine().previousSide, &engine().currentSide}) {
            expectOneSampleOfEveryRow(*side, range);
            corners += expectTheCutsCorners(*side, range.shift);
        }
        EXPECT_FALSE(HasFailure()) << shift.x << ", " << shift.y;
        return corners;
    }
};

/// (shift, range) of a frame of rows x cols; each shift's two numbers differ.
struct Case {
    ExpectedShift shift;
    RowRange range;
};
Lines::value_type numbersOf(const RowRange& range, std::int32_t rows, std::int32_t cols) {
    std::string text;
    for (const std::int32_t number : {rows, cols, range.rows, range.cols, range.rowOffset, range.colOffset})
        text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}
std::vector<Case> casesOf(std::int32_t rows, std::int32_t cols, std::int32_t x, std::int32_t y) {
    return {{{-x, -y, true}, {rows - y, cols - x, 0, x, {x, 0}}},
            {{-x, y, true}, {rows - y, cols - x, y, x, {0, 0}}},
            {{x, -y, true}, {rows - y, cols - x, y, 0, {0, y}}},
            {{x, y, true}, {rows - y, cols - x, 0, 0, {x, y}}},
            {{0, 0, true}, {rows - 1, cols, 0, 0, {0, 0}}}};  // all rows but the last, behind which it ends
}

class OpenClRowRangeOfSize : public OpenClRowRange,
                             public ::testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(OpenClRowRangeOfSize, IsCutAndSearchedBySignsOfTheShift) {
    const auto [channels, width] = GetParam();
    std::size_t corners = 0;
    for (const Case& expected : casesOf(rows, width, 100, 20)) {
        openSize(rows, width, channels);
        makeDirty();
        const CallReport report = search(frameAt(20, 20), frameAt(120, 20), expected.shift);
        expectNumbers(numbersOf(expected.range, rows, width));
        corners += expectSearchedAsExpected(expected.shift, expected.range);
        EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "getRangeTh1 in"),
                  channels == 1 ? 1 : 0);
        renew();
    }
    EXPECT_GT(corners, 0U);
}
INSTANTIATE_TEST_SUITE_P(ChannelsAndWidths, OpenClRowRangeOfSize,
                         ::testing::Combine(::testing::Values(1, 3), ::testing::Values(300, 301)));

/// As small as an interpreter of kernels can bear.
TEST_F(OpenClRowRange, OfSmallFramesStaysInItsBuffers) {
    for (const std::int32_t width : {136, 137})
        for (const Case& expected : casesOf(112, width, 30, 16)) {
            openSize(112, width, 3);
            search(frameAt(0, 0), frameAt(30, 16), expected.shift);
            expectNumbers(numbersOf(expected.range, 112, width));
            expectSearchedAsExpected(expected.shift, expected.range);
            renew();
        }
}

TEST_F(OpenClRowRange, CoversItsExtentInTiles) {
    open(1);
    search(frameAt(20, 20), frameAt(120, 20), {10, -100, true});  // 290 columns, 116 rows
    EXPECT_EQ(traceOf("range getRowRange"), Lines{"304/16 128/16"});
    EXPECT_EQ(traceOf("range getRowRange2"), Lines{"304/16 128/16"});
}

TEST_F(OpenClRowRange, OfAShiftAsLargeAsTheFrameIsEmpty) {
    open(3);
    const CallReport report = search(frameAt(20, 20), frameAt(120, 20), {-2147483647 - 1, 5, true});
    EXPECT_EQ(report.out.result, -1);
    EXPECT_EQ(callsOf("range getRowRange"), 0U);
    EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "getRangeTh1 in"), 0);
}

TEST_F(OpenClRowRange, ThatCannotBeClearedFailsTheCallAndIsClearedLater) {
    open(1);
    fail("clEnqueueWriteBuffer:" + std::to_string(rows * cols));
    const CallReport report = search(frameAt(20, 20), frameAt(120, 20), {100, 20, true});
    EXPECT_EQ(report.out.result, -1);
    EXPECT_EQ(std::count(report.debug.begin(), report.debug.end(), "failed clEnqueueWriteBuffer"), 2);
    EXPECT_EQ(callsOf("range getRowRange"), 0U);
    fail("");
    search(frameAt(20, 20), frameAt(120, 20), {100, 20, true});
    expectSearchedAsExpected({100, 20, true}, {rows - 20, cols - 100, 0, 0, {100, 20}});
}

}  // namespace

}  // namespace brantel::test
