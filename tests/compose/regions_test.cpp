// Cutting, pasting and the overlap of two frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "compose/regions.h"
#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"

namespace brantel {
namespace {

using test::GuardedBuffer;
using test::listen;

// the separator between the two names is a GB2312 ideographic comma
const test::Lines overSize{std::string("ptr is null or endBigRow\xA1\xA2") + "endBigCol overSize"};

constexpr std::int32_t rows = 23;
constexpr std::int32_t cols = 31;

std::uint8_t sample(const std::vector<std::uint8_t>& image, std::int32_t width, std::int32_t channels,
                    std::int32_t r, std::int32_t c, std::int32_t k) {
    return image[static_cast<std::size_t>((r * width + c) * channels + k)];
}

TEST(CropImageRegion, CopiesTheRegionPackedAndDescribesIt) {
    for (const std::int32_t channels : {1, 3}) {
        const auto image = test::randomBytes(rows * cols * channels, 1);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(image);
        for (const Region& region : {Region{0, rows, 0, cols}, Region{3, 9, 4, 5}, Region{22, 23, 30, 31},
                                     Region{0, 1, 0, 31}, Region{5, 23, 11, 31}}) {
            const std::int32_t height = region.rowEnd - region.rowStart;
            const std::int32_t width = region.colEnd - region.colStart;
            GuardedBuffer<std::uint8_t> out(static_cast<std::size_t>(height * width * channels));
            ImageDesc record{42, 0, 0, 0};
            ASSERT_TRUE(cropImageRegion(source->data(), region, rows, cols, channels, &record, out.data()));
            EXPECT_EQ(record.reserved, 42) << "the first word is left alone";
            EXPECT_EQ(record.channels, channels);
            EXPECT_EQ(record.rows, height);
            EXPECT_EQ(record.cols, width);
            for (std::int32_t r = 0; r < height; ++r)
                for (std::int32_t c = 0; c < width; ++c)
                    for (std::int32_t k = 0; k < channels; ++k)
                        ASSERT_EQ(out[static_cast<std::size_t>((r * width + c) * channels + k)],
                                  sample(image, cols, channels, r + region.rowStart, c + region.colStart, k));
            EXPECT_TRUE(out.intact());
        }
    }
}

TEST(CropImageRegion, AnEndAtTheImagesEndIsAcceptedOneMoreIsRefused) {
    const auto image = test::randomBytes(rows * cols, 1);
    std::vector<std::uint8_t> out(rows * cols, 5);
    ImageDesc record{};
    EXPECT_TRUE(cropImageRegion(image.data(), {0, rows, 0, cols}, rows, cols, 1, &record, out.data()));
    for (const Region& region : {Region{1, rows + 1, 0, cols}, Region{0, rows, 1, cols + 1}}) {
        const auto said =
            listen([&] { return cropImageRegion(image.data(), region, rows, cols, 1, &record, out.data()); });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, overSize);
    }
}

TEST(CropImageRegion, AnEmptyRowRangeWritesTheRecordAndCopiesNothing) {
    const auto image = test::randomBytes(rows * cols, 1);
    std::uint8_t untouched = 77;
    ImageDesc record{};
    EXPECT_TRUE(cropImageRegion(image.data(), {5, 5, 2, 9}, rows, cols, 1, &record, &untouched));
    EXPECT_EQ(record.rows, 0);
    EXPECT_EQ(record.cols, 7);
    EXPECT_EQ(untouched, 77);
    EXPECT_TRUE(cropImageRegion(image.data(), {9, 5, 2, 9}, rows, cols, 1, &record, &untouched));
    EXPECT_EQ(record.rows, -4);
    EXPECT_EQ(untouched, 77);
}

TEST(CropImageRegion, OtherChannelCountsCopyNothingButSucceed) {
    const auto image = test::randomBytes(rows * cols * 4, 1);
    std::vector<std::uint8_t> out(rows * cols * 4, 5);
    const auto before = out;
    for (const std::int32_t channels : {0, 2, 4}) {
        ImageDesc record{};
        EXPECT_TRUE(cropImageRegion(image.data(), {0, 5, 0, 5}, rows, cols, channels, &record, out.data()));
        EXPECT_EQ(record.channels, channels);
    }
    EXPECT_EQ(out, before);
}

TEST(CropImageRegion, RefusesNullImages) {
    std::uint8_t pixel = 1;
    ImageDesc record{9, 9, 9, 9};
    const auto first = listen([&] {
        return cropImageRegion(nullptr, {0, 1, 0, 1}, 1, 1, 1, &record, &pixel);
    });
    const auto second = listen([&] {
        return cropImageRegion(&pixel, {0, 1, 0, 1}, 1, 1, 1, &record, nullptr);
    });
    for (const auto& said : {first, second}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, overSize);
    }
    EXPECT_EQ(record.rows, 9) << "nothing is described";
}

TEST(PasteImageRegion, OverwritesExactlyTheRegion) {
    for (const std::int32_t channels : {1, 3}) {
        const auto before = test::randomBytes(rows * cols * channels, 2);
        for (const Region& region : {Region{0, rows, 0, cols}, Region{3, 9, 4, 5}, Region{22, 23, 30, 31}}) {
            const std::int32_t height = region.rowEnd - region.rowStart;
            const std::int32_t width = region.colEnd - region.colStart;
            const std::int32_t sourceCols = width + 3;
            const auto patch = test::randomBytes(height * sourceCols * channels, 3);
            const auto canvas = GuardedBuffer<std::uint8_t>::copyOf(before);
            ASSERT_TRUE(
                pasteImageRegion(patch.data(), sourceCols, region, rows, cols, channels, canvas->data()));
            for (std::int32_t r = 0; r < rows; ++r)
                for (std::int32_t c = 0; c < cols; ++c)
                    for (std::int32_t k = 0; k < channels; ++k) {
                        const bool inside = r >= region.rowStart && r < region.rowEnd &&
                                            c >= region.colStart && c < region.colEnd;
                        const std::uint8_t expected =
                            inside ? sample(patch, sourceCols, channels, r - region.rowStart,
                                            c - region.colStart, k)
                                   : sample(before, cols, channels, r, c, k);
                        ASSERT_EQ((*canvas)[static_cast<std::size_t>((r * cols + c) * channels + k)],
                                  expected);
                    }
            EXPECT_TRUE(canvas->intact());
        }
    }
}

TEST(PasteImageRegion, AnEndAtTheCanvasEndIsAcceptedOneMoreIsRefusedWhole) {
    std::vector<std::uint8_t> canvas(rows * cols, 5);
    const auto before = canvas;
    const std::vector<std::uint8_t> patch(rows * cols, 9);
    for (const Region& region : {Region{1, rows + 1, 0, cols}, Region{0, rows, 1, cols + 1}}) {
        const auto said = listen(
            [&] { return pasteImageRegion(patch.data(), cols, region, rows, cols, 1, canvas.data()); });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, overSize);
        EXPECT_EQ(canvas, before);
    }
    EXPECT_TRUE(pasteImageRegion(patch.data(), cols, {1, rows, 1, cols}, rows, cols, 1, canvas.data()));
    EXPECT_NE(canvas, before);
}

TEST(PasteImageRegion, NothingToPasteSucceeds) {
    std::uint8_t canvas = 5;
    const std::uint8_t patch = 9;
    EXPECT_TRUE(pasteImageRegion(&patch, 1, {1, 1, 0, 1}, 1, 1, 1, &canvas));
    EXPECT_TRUE(pasteImageRegion(&patch, 1, {0, 1, 0, 1}, 1, 1, 2, &canvas));
    EXPECT_EQ(canvas, 5);
}

TEST(PasteImageRegion, RefusesNullImages) {
    std::uint8_t pixel = 1;
    for (const auto& said : {listen([&] {
                                 return pasteImageRegion(nullptr, 1, {0, 1, 0, 1}, 1, 1, 1, &pixel);
                             }),
                             listen([&] {
                                 return pasteImageRegion(&pixel, 1, {0, 1, 0, 1}, 1, 1, 1, nullptr);
                             })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, overSize);
    }
}

/// The four rows of the sign table: canvas rows, canvas columns, frame rows, frame columns.
struct SignCase {
    Offset offset;
    Region canvas;
    Region frame;
};

constexpr std::int32_t h = 40;
constexpr std::int32_t w = 60;
constexpr CornerPoint at{500, 300};

const SignCase signCases[] = {
    {{-7, -5}, {300, 300 + h - 5, 500, 500 + w - 7}, {5, h, 7, w}},
    {{-7, 5}, {305, 300 + h, 500, 500 + w - 7}, {0, h - 5, 7, w}},
    {{-7, 0}, {300, 300 + h, 500, 500 + w - 7}, {0, h, 7, w}},
    {{7, -5}, {300, 300 + h - 5, 507, 500 + w}, {5, h, 0, w - 7}},
    {{0, -5}, {300, 300 + h - 5, 500, 500 + w}, {5, h, 0, w}},
    {{7, 5}, {305, 300 + h, 507, 500 + w}, {0, h - 5, 0, w - 7}},
    {{0, 0}, {300, 300 + h, 500, 500 + w}, {0, h, 0, w}},
};

void expectSame(const Region& a, const Region& b) {
    EXPECT_EQ(a.rowStart, b.rowStart);
    EXPECT_EQ(a.rowEnd, b.rowEnd);
    EXPECT_EQ(a.colStart, b.colStart);
    EXPECT_EQ(a.colEnd, b.colEnd);
}

TEST(OverlapRegions, FollowTheTableOfSigns) {
    for (const SignCase& each : signCases) {
        SCOPED_TRACE(testing::Message() << each.offset.x << ", " << each.offset.y);
        const OverlapRegions parts = overlapRegions(at, each.offset, h, w);
        expectSame(parts.canvas, each.canvas);
        expectSame(parts.frame, each.frame);
    }
}

TEST(CropOverlapPair, CutsBothPartsByTheTableOfSigns) {
    constexpr std::int32_t canvasRows = 420;
    constexpr std::int32_t canvasCols = 640;
    for (const std::int32_t channels : {1, 3}) {
        const auto canvas = test::randomBytes(canvasRows * canvasCols * channels, 4);
        const auto frame = test::randomBytes(h * w * channels, 5);
        for (const SignCase& each : signCases) {
            const std::size_t bytes = static_cast<std::size_t>((h - std::abs(each.offset.y)) *
                                                               (w - std::abs(each.offset.x)) * channels);
            GuardedBuffer<std::uint8_t> canvasOut(bytes);
            GuardedBuffer<std::uint8_t> frameOut(bytes);
            ImageDesc canvasPart{};
            ImageDesc framePart{};
            ASSERT_TRUE(cropOverlapPair(canvas.data(), frame.data(), {0, channels, canvasRows, canvasCols},
                                        {0, channels, h, w}, at, each.offset, &canvasPart, &framePart,
                                        canvasOut.data(), frameOut.data()));
            for (const ImageDesc& part : {canvasPart, framePart}) {
                EXPECT_EQ(part.channels, channels);
                EXPECT_EQ(part.rows, h - std::abs(each.offset.y));
                EXPECT_EQ(part.cols, w - std::abs(each.offset.x));
            }
            std::vector<std::uint8_t> expected(bytes);
            ImageDesc ignored{};
            cropImageRegion(canvas.data(), each.canvas, canvasRows, canvasCols, channels, &ignored,
                            expected.data());
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), canvasOut.begin()));
            cropImageRegion(frame.data(), each.frame, h, w, channels, &ignored, expected.data());
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), frameOut.begin()));
            EXPECT_TRUE(canvasOut.intact() && frameOut.intact());
        }
    }
}

TEST(CropOverlapPair, NoShiftGivesTheWholeFrameAtThePosition) {
    const auto canvas = test::randomBytes(100 * 100, 4);
    const auto frame = test::randomBytes(h * w, 5);
    std::vector<std::uint8_t> canvasOut(h * w);
    std::vector<std::uint8_t> frameOut(h * w);
    ImageDesc a{};
    ImageDesc b{};
    ASSERT_TRUE(cropOverlapPair(canvas.data(), frame.data(), {0, 1, 100, 100}, {0, 1, h, w}, {12, 34}, {0, 0},
                                &a, &b, canvasOut.data(), frameOut.data()));
    EXPECT_EQ(frameOut, frame);
    EXPECT_EQ(canvasOut[0], canvas[34 * 100 + 12]);
    EXPECT_EQ(canvasOut[h * w - 1], canvas[(34 + h - 1) * 100 + 12 + w - 1]);
}

TEST(CropOverlapPair, SucceedsEvenWhenACutIsRefused) {
    const auto frame = test::randomBytes(h * w, 5);
    const auto canvas = test::randomBytes(h * w, 4);
    std::vector<std::uint8_t> canvasOut(h * w);
    std::vector<std::uint8_t> frameOut(h * w);
    ImageDesc a{};
    ImageDesc b{};
    const auto said = listen([&] {
        return cropOverlapPair(canvas.data(), frame.data(), {0, 1, h, w}, {0, 1, h, w}, {5, 5}, {0, 0}, &a,
                               &b, canvasOut.data(), frameOut.data());
    });
    EXPECT_TRUE(said.result);
    EXPECT_EQ(said.lines, overSize);
    EXPECT_EQ(frameOut, frame);
}

TEST(CropOverlapPair, RefusesNullImages) {
    std::uint8_t p[4] = {};
    ImageDesc a{};
    ImageDesc b{};
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return cropOverlapPair(which == 0 ? nullptr : p, which == 1 ? nullptr : p, {0, 1, 2, 2},
                                   {0, 1, 2, 2}, {0, 0}, {0, 0}, &a, &b, which == 2 ? nullptr : p,
                                   which == 3 ? nullptr : p);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, test::Lines{"ptr is null"});
    }
}

TEST(ColumnSpan, UnitedHoldsBoth) {
    const auto expectUnited = [](ColumnSpan a, ColumnSpan b, ColumnSpan expected) {
        for (const ColumnSpan& span : {united(a, b), united(b, a)}) {
            EXPECT_EQ(span.first, expected.first);
            EXPECT_EQ(span.last, expected.last);
        }
    };
    expectUnited({3, 5}, {8, 9}, {3, 9});
    expectUnited({3, 9}, {4, 5}, {3, 9});
    expectUnited({7, 7}, {4, 5}, {4, 5});
    EXPECT_TRUE(united({7, 7}, {5, 2}).isEmpty());
}

}  // namespace
}  // namespace brantel
