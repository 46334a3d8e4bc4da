// Padding, the 5-tap filters and cropping, on floats and on bytes, against values worked out by hand.
#include "reference/filters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "common/tuning.h"
#include "support/lines.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;
using Bytes = std::vector<std::uint8_t>;

TEST(ResponseKernel, HasTheseBits) {
    const std::uint32_t bits[5] = {0x3E40214B, 0x3E53037D, 0x3E59B62C, 0x3E53037D, 0x3E40214B};
    EXPECT_EQ(std::memcmp(responseKernel, bits, sizeof bits), 0);
}

TEST(SmoothingKernel, HasTheseBits) {
    const std::uint32_t bits[5] = {0x3D631E2D, 0x3E7A0FD4, 0x3ECE2435, 0x3E7A0FD4, 0x3D631E2D};
    EXPECT_EQ(std::memcmp(smoothingKernel, bits, sizeof bits), 0);
}

const Bytes picture{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};  // 3 x 4

const Bytes paddedBy2{11, 10, 9, 10, 11, 12, 11, 10,  //
                      7,  6,  5, 6,  7,  8,  7,  6,   //
                      3,  2,  1, 2,  3,  4,  3,  2,   //
                      7,  6,  5, 6,  7,  8,  7,  6,   //
                      11, 10, 9, 10, 11, 12, 11, 10,  //
                      7,  6,  5, 6,  7,  8,  7,  6,   //
                      3,  2,  1, 2,  3,  4,  3,  2};

TEST(PadReflect2, MirrorsWithoutRepeatingTheEdgeIntoBothImages) {
    const Floats image(picture.begin(), picture.end());
    Floats a(7 * 8 + 1, -1);
    Floats b(7 * 8 + 1, -1);
    EXPECT_TRUE(reference::padReflect2(toOutput(), image.data(), 3, 4, a.data(), b.data()));
    Floats expected(paddedBy2.begin(), paddedBy2.end());
    expected.push_back(-1);
    EXPECT_EQ(a, expected);
    EXPECT_EQ(b, expected);
}

TEST(PadReflect101, MirrorsABorderOfAnyWidth) {
    Bytes a(7 * 8);
    Bytes b(7 * 8);
    EXPECT_TRUE(reference::padReflect101(toOutput(), picture.data(), 3, 4, 2, a.data(), b.data()));
    EXPECT_EQ(a, paddedBy2);
    EXPECT_EQ(b, paddedBy2);
    a.resize(5 * 6);
    EXPECT_TRUE(reference::padReflect101(toOutput(), picture.data(), 3, 4, 1, a.data(), b.data()));
    EXPECT_EQ(a, (Bytes{6,  5, 6,  7,  8,  7,   //
                        2,  1, 2,  3,  4,  3,   //
                        6,  5, 6,  7,  8,  7,   //
                        10, 9, 10, 11, 12, 11,  //
                        6,  5, 6,  7,  8,  7}));
}

TEST(Padding, LeavesImagesNoLargerThanTheBorderAlone) {
    for (const auto& [rows, cols] : {std::pair{2, 9}, std::pair{9, 2}, std::pair{1, 1}, std::pair{0, 0}}) {
        const Floats image(18);
        Floats a(200, -1);
        EXPECT_TRUE(reference::padReflect2(toOutput(), image.data(), rows, cols, a.data(), a.data()));
        EXPECT_EQ(a, Floats(200, -1));
        Bytes bytes(200, 9);
        EXPECT_TRUE(
            reference::padReflect101(toOutput(), picture.data(), rows, cols, 2, bytes.data(), bytes.data()));
        EXPECT_EQ(bytes, Bytes(200, 9));
    }
}

TEST(FilterColumn5, SumsItsTapsFromTheTopAndKeepsTheOuterRows) {
    const float kernel[5] = {1, 2, 3, 4, 5};
    const Floats image{1, 10, 0, 20, 2, 30, 0, 40, 1, 50, 3, 60};  // 6 x 2
    Floats out(12, -1);
    EXPECT_TRUE(reference::filterColumn5(toOutput(), image.data(), kernel, 6, 2, out.data()));
    EXPECT_EQ(out, (Floats{-1, -1, -1, -1, 12, 550, 23, 700, -1, -1, -1, -1}));
}

TEST(FilterRow5, SumsItsTapsFromTheLeftAndKeepsTheOuterColumns) {
    const float kernel[5] = {1, 2, 3, 4, 5};
    const Floats image{1, 0, 2, 0, 1, 3, 10, 20, 30, 40, 50, 60};  // 2 x 6
    Floats out(12, -1);
    EXPECT_TRUE(reference::filterRow5(toOutput(), image.data(), kernel, 2, 6, out.data()));
    EXPECT_EQ(out, (Floats{-1, -1, 12, 23, -1, -1, -1, -1, 550, 700, -1, -1}));
}

TEST(Filters5, RoundAfterEachTap) {
    const float ones[5] = {1, 1, 1, 1, 1};
    const Floats image{1e8F, 1, -1e8F, 1, 1};  // the first 1 is lost in the sum
    Floats out(5);
    EXPECT_TRUE(reference::filterRow5(toOutput(), image.data(), ones, 1, 5, out.data()));
    EXPECT_EQ(out[2], 2);
    EXPECT_TRUE(reference::filterColumn5(toOutput(), image.data(), ones, 5, 1, out.data()));
    EXPECT_EQ(out[2], 2);
}

TEST(Filters5u8, WeighByTheMotionKernelAndTruncate) {
    const Bytes line{0, 0, 0, 0, 255, 0, 0, 0, 0};
    Bytes out(9, 77);
    const Bytes expected{77, 77, 14, 62, 102, 62, 14, 77, 77};
    EXPECT_TRUE(reference::filterRow5u8(toOutput(), line.data(), 1, 9, out.data()));
    EXPECT_EQ(out, expected);
    out.assign(9, 77);
    EXPECT_TRUE(reference::filterColumn5u8(toOutput(), line.data(), 9, 1, out.data()));
    EXPECT_EQ(out, expected);
    for (const std::uint8_t value : {1, 200, 255}) {  // the taps add up to 1.0019
        const Bytes flat(5, value);
        EXPECT_TRUE(reference::filterRow5u8(toOutput(), flat.data(), 1, 5, out.data()));
        EXPECT_EQ(out[2], value);
    }
}

TEST(Filters5, FourRowsOrColumnsAreTooFew) {
    const Floats image(40, 3);
    Floats out(40, -1);
    EXPECT_TRUE(reference::filterColumn5(toOutput(), image.data(), responseKernel, 4, 10, out.data()));
    EXPECT_TRUE(reference::filterRow5(toOutput(), image.data(), responseKernel, 10, 4, out.data()));
    EXPECT_EQ(out, Floats(40, -1));
    const Bytes bytes(40, 200);
    Bytes outBytes(40, 77);
    EXPECT_TRUE(reference::filterColumn5u8(toOutput(), bytes.data(), 4, 10, outBytes.data()));
    EXPECT_TRUE(reference::filterRow5u8(toOutput(), bytes.data(), 10, 4, outBytes.data()));
    EXPECT_EQ(outBytes, Bytes(40, 77));
}

TEST(Cropping, TakesTheInterior) {
    const Floats padded(paddedBy2.begin(), paddedBy2.end());
    Floats image(13, -1);
    EXPECT_TRUE(reference::cropPadding2(toOutput(), padded.data(), 7, 8, image.data()));
    EXPECT_EQ(image, (Floats{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, -1}));
    Bytes inner(2);
    EXPECT_TRUE(reference::cropBorder(toOutput(), picture.data(), 3, 4, 1, inner.data()));
    EXPECT_EQ(inner, (Bytes{6, 7}));
    Bytes all(12);
    EXPECT_TRUE(reference::cropBorder(toOutput(), picture.data(), 3, 4, 0, all.data()));
    EXPECT_EQ(all, picture);
    EXPECT_TRUE(reference::cropPadding2(toOutput(), padded.data(), 4, 4, image.data())) << "nothing is left";
    EXPECT_TRUE(reference::cropBorder(toOutput(), paddedBy2.data(), 4, 4, 2, inner.data()));
    EXPECT_EQ(image[0], 1);
    EXPECT_EQ(inner[0], 6);
}

TEST(SmoothProduct, FiltersColumnsThenRowsWithTheFlatKernel) {
    Floats image{1000, 0, 0, 7, 0, 0, 65025, 0, 0, 50, 0, 0};  // 3 x 4
    Floats a(7 * 8);
    Floats b(7 * 8);
    reference::smoothProduct(toOutput(), image.data(), 3, 4, a.data(), b.data());
    EXPECT_EQ(image, (Floats{10109.4199F, 5574.04639F, 10770.0459F, 11052.249F,  //
                             14392.4395F, 7923.9707F, 15340.4229F, 15758.3984F,  //
                             10140.6484F, 5604.521F, 10799.1211F, 11049.4395F}));
}

TEST(SmoothGrey, FiltersColumnsThenRowsAndTruncatesTwice) {
    Bytes image{255, 0, 10, 7, 0, 100, 0, 200, 90, 50, 0, 255};  // 3 x 4
    Bytes a(7 * 8);
    Bytes b(7 * 8);
    reference::smoothGrey(toOutput(), image.data(), 3, 4, a.data(), b.data());
    EXPECT_EQ(image, (Bytes{71, 60, 52, 59, 64, 59, 61, 74, 59, 58, 69, 88}));
}

TEST(Smoothing, LeavesImagesTooSmallForTheBorderAlone) {
    for (const auto& [rows, cols] : {std::pair{2, 6}, std::pair{6, 2}, std::pair{1, 1}}) {
        Floats image{1, 20, 3, 40, 5, 60, 7, 80, 9, 100, 11, 120};
        const Floats before = image;
        reference::smoothProduct(toOutput(), image.data(), rows, cols, nullptr, nullptr);
        EXPECT_EQ(image, before);
        Bytes bytes = picture;
        reference::smoothGrey(toOutput(), bytes.data(), rows, cols, nullptr, nullptr);
        EXPECT_EQ(bytes, picture);
    }
}

TEST(Filters, RefuseNullImages) {
    Floats image(100);
    Bytes bytes(100);
    float* f = image.data();
    std::uint8_t* p = bytes.data();
    const Log& log = toOutput();
    for (const auto& said :
         {listen([&] { return reference::padReflect2(log, nullptr, 5, 5, f, f); }),
          listen([&] { return reference::padReflect2(log, f, 5, 5, nullptr, f); }),
          listen([&] { return reference::padReflect2(log, f, 5, 5, f, nullptr); }),
          listen([&] { return reference::filterColumn5(log, nullptr, responseKernel, 5, 5, f); }),
          listen([&] { return reference::filterColumn5(log, f, responseKernel, 5, 5, nullptr); }),
          listen([&] { return reference::filterRow5(log, nullptr, responseKernel, 5, 5, f); }),
          listen([&] { return reference::filterRow5(log, f, responseKernel, 5, 5, nullptr); }),
          listen([&] { return reference::cropPadding2(log, nullptr, 5, 5, f); }),
          listen([&] { return reference::cropPadding2(log, f, 5, 5, nullptr); }),
          listen([&] { return reference::padReflect101(log, nullptr, 5, 5, 2, p, p); }),
          listen([&] { return reference::padReflect101(log, p, 5, 5, 2, nullptr, p); }),
          listen([&] { return reference::filterColumn5u8(log, nullptr, 5, 5, p); }),
          listen([&] { return reference::filterColumn5u8(log, p, 5, 5, nullptr); }),
          listen([&] { return reference::filterRow5u8(log, nullptr, 5, 5, p); }),
          listen([&] { return reference::filterRow5u8(log, p, 5, 5, nullptr); }),
          listen([&] { return reference::cropBorder(log, nullptr, 5, 5, 2, p); }),
          listen([&] { return reference::cropBorder(log, p, 5, 5, 2, nullptr); })}) {
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"ptr is NULL"});
    }
}

}  // namespace
}  // namespace brantel::test
