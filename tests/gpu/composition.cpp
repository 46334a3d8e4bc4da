#include "gpu/composition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "gpu/reference.h"
#include "reference/acceptance.h"
#include "reference/filters.h"
#include "reference/image_ops.h"
#include "reference/weights.h"
#include "reference/zero_sum.h"
#include "support/test_log.h"

namespace brantel::test {

Frame windowOf(const cv::Mat& canvas, CornerPoint at, const ImageDesc& size) {
    Frame window;
    for (std::int32_t y = 0; y < size.rows; ++y) {
        const std::uint8_t* row = canvas.ptr(at.y + y, at.x);
        window.insert(window.end(), row, row + std::int64_t{size.cols} * size.channels);
    }
    return window;
}

Frame cutOfFirst(const Frame& first, const ImageDesc& size, Offset offset) {
    Frame cut(first.size());
    for (std::int32_t y = 0; y < size.rows; ++y)
        for (std::int32_t x = 0; x < size.cols; ++x) {
            const std::int32_t fromRow = y + offset.y;
            const std::int32_t fromCol = x + offset.x;
            if (fromRow < 0 || fromRow >= size.rows || fromCol < 0 || fromCol >= size.cols) continue;
            const std::int64_t from = (std::int64_t{fromRow} * size.cols + fromCol) * size.channels;
            std::copy_n(first.begin() + from, size.channels,
                        cut.begin() + (std::int64_t{y} * size.cols + x) * size.channels);
        }
    return cut;
}

Blend::Blend(const Frame& cut, const Frame& frame, const ImageDesc& size) : byProcessor(frame) {
    const auto pixels = static_cast<std::size_t>(size.pixels());
    std::vector<float> cutMask(pixels);
    std::vector<float> frameMask(pixels);
    Frame weights(pixels);
    EXPECT_TRUE(reference::weightMask(toOutput(), cut.data(), frame.data(), size.rows, size.cols,
                                      size.channels, cutMask.data(), frameMask.data(), weights.data()));
    reference::fuseImages(cut.data(), weights.data(), size.pixels(), size.channels, byProcessor.data());
    // The masks have become the distances.
    byDevice = gpu_test::fusedByDistances(cut, frame, cutMask, frameMask, size.channels);
}

void expectBlended(const Frame& placed, const Frame& cut, const Frame& frame, const ImageDesc& size) {
    const Blend blend(cut, frame, size);
    EXPECT_TRUE(placed == blend.byDevice);
    EXPECT_FALSE(placed == frame);
    int largest = 0;
    for (std::size_t i = 0; i < placed.size(); ++i)
        largest = std::max(largest, std::abs(placed[i] - blend.byProcessor[i]));
    EXPECT_LE(largest, 1);
}

Cut::Cut(const Frame& frame, const ImageDesc& size, const Region& region)
    : part{0, size.channels, region.rowEnd - region.rowStart, region.colEnd - region.colStart} {
    Frame colour(static_cast<std::size_t>(part.bytes()));
    EXPECT_TRUE(cropImageRegion(toOutput(), frame.data(), region, size.rows, size.cols, size.channels, &part,
                                colour.data()));
    grey = colour;
    grey.resize(static_cast<std::size_t>(part.pixels()));
    if (size.channels == 1) return;
    EXPECT_TRUE(reference::rgb2gray(toOutput(), colour.data(), part.rows, part.cols, grey.data()));
}

Frame Cut::answer() const {
    const auto padded = static_cast<std::size_t>((part.rows + 2) * (part.cols + 2));
    Frame a(padded), b(padded), smoothed(grey.size());
    reference::padReflect101(toOutput(), grey.data(), part.rows, part.cols, 1, a.data(), b.data());
    reference::smooth3x3(toOutput(), a.data(), part.rows + 2, part.cols + 2, b.data());
    reference::cropBorder(toOutput(), b.data(), part.rows + 2, part.cols + 2, 1, smoothed.data());
    return reference::zeroSumImage(toOutput(), smoothed.data(), part.rows, part.cols);
}

void expectBrightness(const StitchFlags& record, const Cut& previous, const Cut& current) {
    const auto mean = [](const Cut& cut) {
        return reference::meanGrey(cut.grey.data(), cut.part.rows, cut.part.cols);
    };
    const auto brightMean = [](const Cut& cut) {
        return reference::meanOfBright(cut.grey.data(), cut.part.pixels());
    };
    EXPECT_EQ(record.prevMean, mean(previous));
    EXPECT_EQ(record.curMean, mean(current));
    EXPECT_EQ(record.prevBrightMean, brightMean(previous));
    EXPECT_EQ(record.curBrightMean, brightMean(current));
    EXPECT_NE(record.prevMean, record.curMean);
}

}  // namespace brantel::test
