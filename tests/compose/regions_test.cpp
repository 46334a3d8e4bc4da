// Cutting, pasting and the overlap of two frames.
#include "compose/regions.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// the separator between the two names is a GB2312 ideographic comma
const Lines overSize{std::string("ptr is null or endBigRow\xA1\xA2") + "endBigCol overSize"};

constexpr std::int32_t rows = 23;
constexpr std::int32_t cols = 31;

Picture noise(std::int32_t height, std::int32_t width, std::int32_t channels, std::uint64_t seed) {
    return {height, width, channels, randomBytes(std::int64_t{height} * width * channels, seed)};
}

/// What a region holds.
Bytes partOf(const Picture& picture, const Region& region) {
    return picture.window(region.colStart, region.rowStart, region.rowEnd - region.rowStart,
                          region.colEnd - region.colStart);
}

const Region regions[] = {{0, rows, 0, cols}, {3, 9, 4, 5}, {22, 23, 30, 31}, {0, 1, 0, 31}, {5, 23, 11, 31}};
const Region beyond[] = {{1, rows + 1, 0, cols}, {0, rows, 1, cols + 1}};

TEST(CropImageRegion, CopiesTheRegionPackedAndDescribesIt) {
    for (const std::int32_t channels : {1, 3}) {
        const Picture picture = noise(rows, cols, channels, 1);
        const auto source = GuardedBuffer<std::uint8_t>::copyOf(picture.pixels);
        for (const Region& region : regions) {
            const Bytes expected = partOf(picture, region);
            GuardedBuffer<std::uint8_t> out(expected.size());
            ImageDesc desc{42, 0, 0, 0};
            ASSERT_TRUE(
                cropImageRegion(toOutput(), source->data(), region, rows, cols, channels, &desc, out.data()));
            EXPECT_EQ(desc.reserved, 42) << "the first word is left alone";
            EXPECT_EQ(desc.channels, channels);
            EXPECT_EQ(desc.rows, region.rowEnd - region.rowStart);
            EXPECT_EQ(desc.cols, region.colEnd - region.colStart);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
            EXPECT_TRUE(out.intact());
        }
    }
}

/// One channel, into a buffer of 7s.
struct Cut {
    bool result = false;
    ImageDesc desc{};
    Bytes out = Bytes(rows * cols, 7);
    Lines lines;

    Cut(const std::uint8_t* source, const Region& region, std::int32_t channels = 1, bool intoNull = false) {
        lines = captureLines([&] {
            result = cropImageRegion(toOutput(), source, region, rows, cols, channels, &desc,
                                     intoNull ? nullptr : out.data());
        });
    }
    bool wroteNothing() const { return out == Bytes(rows * cols, 7); }
};

TEST(CropImageRegion, AnEndAtTheImagesEndIsAcceptedOneMoreIsRefused) {
    const Bytes image(rows * cols, 1);
    EXPECT_TRUE(Cut(image.data(), {0, rows, 0, cols}).result);
    for (const Region& region : beyond) {
        const Cut cut(image.data(), region);
        EXPECT_FALSE(cut.result);
        EXPECT_EQ(cut.lines, overSize);
        EXPECT_TRUE(cut.wroteNothing());
    }
}

TEST(CropImageRegion, AnEmptyRowRangeWritesTheRecordAndCopiesNothing) {
    const Bytes image(rows * cols, 1);
    for (const std::int32_t rowStart : {5, 9}) {
        const Cut cut(image.data(), {rowStart, 5, 2, 9});
        EXPECT_TRUE(cut.result);
        EXPECT_EQ(cut.desc.rows, 5 - rowStart);
        EXPECT_EQ(cut.desc.cols, 7);
        EXPECT_TRUE(cut.wroteNothing());
    }
}

TEST(CropImageRegion, OtherChannelCountsCopyNothingButSucceed) {
    const Bytes image(rows * cols * 4, 1);
    for (const std::int32_t channels : {0, 2, 4}) {
        const Cut cut(image.data(), {0, 5, 0, 5}, channels);
        EXPECT_TRUE(cut.result);
        EXPECT_EQ(cut.desc.channels, channels);
        EXPECT_TRUE(cut.wroteNothing());
    }
}

TEST(CropImageRegion, RefusesNullImages) {
    const Bytes image(rows * cols, 1);
    for (const Cut& cut : {Cut(nullptr, {0, 1, 0, 1}), Cut(image.data(), {0, 1, 0, 1}, 1, true)}) {
        EXPECT_FALSE(cut.result);
        EXPECT_EQ(cut.lines, overSize);
        EXPECT_EQ(cut.desc.rows, 0) << "nothing is described";
    }
}

TEST(PasteImageRegion, OverwritesExactlyTheRegion) {
    for (const std::int32_t channels : {1, 3})
        for (const Region& region : regions) {
            const Picture before = noise(rows, cols, channels, 2);
            const std::int32_t sourceCols = region.colEnd - region.colStart + 3;
            const Picture patch = noise(region.rowEnd - region.rowStart, sourceCols, channels, 3);
            const auto canvas = GuardedBuffer<std::uint8_t>::copyOf(before.pixels);
            ASSERT_TRUE(pasteImageRegion(toOutput(), patch.pixels.data(), sourceCols, region, rows, cols,
                                         channels, canvas->data()));
            EXPECT_TRUE(canvas->intact());
            const Picture after{rows, cols, channels, Bytes(canvas->begin(), canvas->end())};
            EXPECT_EQ(partOf(after, region), patch.window(0, 0, patch.rows, sourceCols - 3));
            // what was there before goes back into its place
            ASSERT_TRUE(pasteImageRegion(toOutput(), partOf(before, region).data(), sourceCols - 3, region,
                                         rows, cols, channels, canvas->data()));
            EXPECT_TRUE(std::equal(before.pixels.begin(), before.pixels.end(), canvas->begin()));
        }
}

TEST(PasteImageRegion, AnEndAtTheCanvasEndIsAcceptedOneMoreIsRefusedWhole) {
    Bytes canvas(rows * cols, 5);
    const Bytes patch(rows * cols, 9);
    for (const Region& region : beyond) {
        const auto said = listen([&] {
            return pasteImageRegion(toOutput(), patch.data(), cols, region, rows, cols, 1, canvas.data());
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, overSize);
        EXPECT_EQ(canvas, Bytes(rows * cols, 5));
    }
    EXPECT_TRUE(
        pasteImageRegion(toOutput(), patch.data(), cols, {1, rows, 1, cols}, rows, cols, 1, canvas.data()));
    EXPECT_EQ(std::count(canvas.begin(), canvas.end(), 9), (rows - 1) * (cols - 1));
}

TEST(PasteImageRegion, NothingToPasteSucceedsNullImagesAreRefused) {
    std::uint8_t canvas = 5;
    const std::uint8_t patch = 9;
    EXPECT_TRUE(pasteImageRegion(toOutput(), &patch, 1, {1, 1, 0, 1}, 1, 1, 1, &canvas));
    EXPECT_TRUE(pasteImageRegion(toOutput(), &patch, 1, {0, 1, 0, 1}, 1, 1, 2, &canvas));
    EXPECT_EQ(canvas, 5);
    const Region one{0, 1, 0, 1};
    for (const auto& said :
         {listen([&] { return pasteImageRegion(toOutput(), nullptr, 1, one, 1, 1, 1, &canvas); }),
          listen([&] { return pasteImageRegion(toOutput(), &patch, 1, one, 1, 1, 1, nullptr); })}) {
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

/// Both parts of an overlap, each in a buffer of its size that ends at a guard page.
struct Overlap {
    bool result = false;
    Lines lines;
    ImageDesc canvasDesc{};
    ImageDesc frameDesc{};
    Bytes canvasPart;
    Bytes framePart;

    Overlap(const Picture& canvas, const Picture& frame, CornerPoint position, Offset offset) {
        const auto bytes =
            static_cast<std::size_t>((h - std::abs(offset.y)) * (w - std::abs(offset.x)) * frame.channels);
        GuardedBuffer<std::uint8_t> canvasOut(bytes);
        GuardedBuffer<std::uint8_t> frameOut(bytes);
        lines = captureLines([&] {
            result =
                cropOverlapPair(toOutput(), canvas.pixels.data(), frame.pixels.data(),
                                {0, canvas.channels, canvas.rows, canvas.cols}, {0, frame.channels, h, w},
                                position, offset, &canvasDesc, &frameDesc, canvasOut.data(), frameOut.data());
        });
        EXPECT_TRUE(canvasOut.intact() && frameOut.intact());
        canvasPart.assign(canvasOut.begin(), canvasOut.end());
        framePart.assign(frameOut.begin(), frameOut.end());
    }
};

TEST(CropOverlapPair, CutsBothPartsByTheTableOfSigns) {
    for (const std::int32_t channels : {1, 3}) {
        const Picture canvas = noise(420, 640, channels, 4);
        const Picture frame = noise(h, w, channels, 5);
        for (const SignCase& each : signCases) {
            const Overlap overlap(canvas, frame, at, each.offset);
            EXPECT_TRUE(overlap.result);
            for (const ImageDesc& part : {overlap.canvasDesc, overlap.frameDesc}) {
                EXPECT_EQ(part.channels, channels);
                EXPECT_EQ(part.rows, h - std::abs(each.offset.y));
                EXPECT_EQ(part.cols, w - std::abs(each.offset.x));
            }
            EXPECT_EQ(overlap.canvasPart, partOf(canvas, each.canvas));
            EXPECT_EQ(overlap.framePart, partOf(frame, each.frame));
        }
    }
}

TEST(CropOverlapPair, SucceedsEvenWhenACutIsRefused) {
    const Picture frame = noise(h, w, 1, 5);
    const Overlap overlap(noise(h, w, 1, 4), frame, {5, 5}, {0, 0});
    EXPECT_TRUE(overlap.result);
    EXPECT_EQ(overlap.lines, overSize);
    EXPECT_EQ(overlap.framePart, frame.pixels);
}

TEST(CropOverlapPair, RefusesNullImages) {
    std::uint8_t p[4] = {};
    ImageDesc a{};
    ImageDesc b{};
    for (int which = 0; which < 4; ++which) {
        const auto said = listen([&] {
            return cropOverlapPair(toOutput(), which == 0 ? nullptr : p, which == 1 ? nullptr : p,
                                   {0, 1, 2, 2}, {0, 1, 2, 2}, {0, 0}, {0, 0}, &a, &b,
                                   which == 2 ? nullptr : p, which == 3 ? nullptr : p);
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is null"});
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
}  // namespace brantel::test
