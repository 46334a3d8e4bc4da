// Blending in place, block by block and with helping hands, against masks, distances, weights and fusion of
// whole images.
#include <algorithm>

#include "compose/seam.h"
#include "plain/image_ops.h"
#include "plain/weights.h"
#include "simd/at_level.h"
#include "simd/crew.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// A random rectangle of the image becomes 0.
void cutHole(Bytes& image, const FrameSize& size, Random& random) {
    const std::int32_t top = random.between(0, size.rows - 1);
    const std::int32_t left = random.between(0, size.cols - 1);
    const std::int32_t bottom = random.between(top, size.rows - 1);
    const std::int32_t right = random.between(left, size.cols - 1);
    for (std::int32_t r = top; r <= bottom; ++r)
        std::fill_n(image.begin() + (std::int64_t{r} * size.cols + left) * size.channels,
                    (right - left + 1) * size.channels, std::uint8_t{0});
}

void scatterZeros(Bytes& image, const FrameSize& size, std::int32_t count, Random& random) {
    const auto last = static_cast<std::int32_t>(size.pixels()) - 1;
    for (std::int32_t i = 0; i < count; ++i)
        std::fill_n(image.begin() + std::int64_t{random.between(0, last)} * size.channels, size.channels,
                    std::uint8_t{0});
}

Bytes fullImage(const FrameSize& size, Random& random) {
    Bytes image = randomBytes(size.bytes(), random.next());
    for (std::uint8_t& sample : image) sample = std::max<std::uint8_t>(sample, 2);
    return image;
}

/// Empty, full, or full but for holes, an edge or single pixels.
Bytes someImage(const FrameSize& size, std::int32_t kind, Random& random) {
    Bytes image = fullImage(size, random);
    switch (kind) {
        case 0:
            return Bytes(image.size(), 0);
        case 1:
            for (std::int32_t i = random.between(1, 3); i > 0; --i) cutHole(image, size, random);
            break;
        case 2:
            scatterZeros(image, size, random.between(1, 4), random);
            break;
        case 3:  // the rest of a neighbouring frame: content on one side only
            for (std::int64_t i = size.bytes() / 3 * 2; i < size.bytes(); ++i) image[i] = 0;
            break;
        case 4:
            return randomBytes(size.bytes(), random.next());
        default:
            break;
    }
    return image;
}

Bytes greyImage(const Bytes& image, const FrameSize& size) {
    if (size.channels == 1) return image;
    Bytes grey(size.pixels());
    plain::rgb2gray(image.data(), size.rows, size.cols, grey.data());
    return grey;
}

class Blending : public AtLevel {
  protected:
    void expectPlainBlend(const FrameSize& size, const Bytes& canvas, const Bytes& frame, std::int64_t slack,
                          WorkerPair* workers) {
        std::vector<float> maskA(size.pixels());
        std::vector<float> maskB(size.pixels());
        Bytes weights(size.pixels());
        Bytes expected = frame;
        plain::weightMask(canvas.data(), frame.data(), size.rows, size.cols, size.channels, maskA.data(),
                          maskB.data(), weights.data());
        plain::fuseImages(canvas.data(), weights.data(), size.pixels(), size.channels, expected.data());

        const Place& place = places[static_cast<std::size_t>(slack + size.cols) % 6];
        const std::int64_t rowBytes = std::int64_t{size.cols} * size.channels;
        const std::int64_t stride = rowBytes + slack;
        constexpr std::uint8_t beside = 0x5A;  // what lies between the window's rows
        Bytes wide((size.rows - 1) * stride + rowBytes, beside);
        for (std::int64_t r = 0; r < size.rows; ++r)
            std::copy_n(canvas.begin() + r * rowBytes, rowBytes, wide.begin() + r * stride);
        const auto window = placed(wide, place);
        const auto samples = placed(frame, place);
        const auto grey = placed(greyImage(frame, size), place);
        GuardedBuffer<std::uint8_t> blendedGrey(size.pixels(), place.guard, place.off);

        const SeamFrame seamFrame(samples->data(), grey->data(), size);
        scratch_.ensure(size, seamFrame.isFull);
        const std::vector<ColumnSpan> anywhere(static_cast<std::size_t>(size.rows), {0, size.cols});
        blendSeam({window->data(), stride, anywhere.data(), 0}, seamFrame, size, scratch_, blendedGrey.data(),
                  workers);

        for (std::int64_t r = 0; r < size.rows; ++r) {
            std::copy_n(expected.begin() + r * rowBytes, rowBytes, wide.begin() + r * stride);
        }
        EXPECT_TRUE(valuesOf(*window) == wide) << firstDifference(*window, wide, stride);
        EXPECT_TRUE(valuesOf(blendedGrey) == greyImage(expected, size));
        EXPECT_TRUE(window->intact() && blendedGrey.intact());
        EXPECT_EQ(valuesOf(*samples), frame);
    }

    SeamScratch scratch_;  // kept from frame to frame, with whatever the last one left

  private:
    static testing::Message firstDifference(GuardedBuffer<std::uint8_t>& found, const Bytes& expected,
                                            std::int64_t stride) {
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (found[i] != expected[i])
                return testing::Message() << "row " << i / stride << ", byte " << i % stride << ": "
                                          << int{found[i]} << " for " << int{expected[i]};
        return {};
    }
};

TEST_P(Blending, OfSmallWindowsOfAllShapes) {
    Random random(21);
    for (std::int32_t rows = 1; rows <= 70; ++rows)
        for (std::int32_t i = 0; i < 24; ++i) {
            const FrameSize size{rows, i < 4 ? i + 1 : random.between(1, 90), i % 2 == 0 ? 3 : 1};
            const std::int32_t canvasKind = random.between(0, 5);
            const std::int32_t frameKind = random.between(0, 5);
            SCOPED_TRACE(testing::Message() << size.rows << " x " << size.cols << " x " << size.channels
                                            << ", canvas " << canvasKind << ", frame " << frameKind);
            const Bytes canvas = someImage(size, canvasKind, random);
            const Bytes frame = someImage(size, frameKind, random);
            expectPlainBlend(size, canvas, frame, random.between(0, 40), nullptr);
            if (HasFailure()) return;
        }
}

TEST_P(Blending, OfFramesWithEmptyRowsOverAnyCanvas) {
    Random random(22);
    for (const std::int32_t channels : {1, 3})
        for (const std::int32_t empty : {1, 14, 15, 16, 17, 18, 31, 32, 33, 34, 50}) {
            const FrameSize size{70, 83, channels};
            for (const std::int32_t start : {0, 1, 2, 15, 16, 17, 20}) {
                Bytes frame = fullImage(size, random);
                std::fill_n(frame.begin() + start * size.cols * channels, empty * size.cols * channels,
                            std::uint8_t{0});
                for (const std::int32_t canvasKind : {0, 1, 2, 3, 5}) {
                    SCOPED_TRACE(testing::Message() << channels << " channels, rows " << start << " to "
                                                    << start + empty << ", canvas " << canvasKind);
                    expectPlainBlend(size, someImage(size, canvasKind, random), frame, 5, nullptr);
                }
                if (HasFailure()) return;
            }
        }
}

TEST_P(Blending, WithHelpingHands) {
    Crew crew;
    Random random(23);
    for (const std::int32_t rows : {1, 3, 33, 100, 161})
        for (const std::int32_t channels : {1, 3})
            for (std::int32_t kinds = 0; kinds < 36; kinds += 5) {
                const FrameSize size{rows, random.between(1, 200), channels};
                SCOPED_TRACE(testing::Message()
                             << rows << " x " << size.cols << " x " << channels << ", kinds " << kinds);
                const Bytes canvas = someImage(size, kinds / 6, random);
                const Bytes frame = someImage(size, kinds % 6, random);
                expectPlainBlend(size, canvas, frame, 3 * kinds, crew.workers());
                if (HasFailure()) return;
            }
}

TEST_P(Blending, OfWindowsWithWorkForAllHandsAtOnce) {
    Crew crew;
    Random random(26);
    const FrameSize size{1000, 900, 1};
    const Bytes canvas = someImage(size, 2, random);
    for (int i = 0; i < 4; ++i) expectPlainBlend(size, canvas, fullImage(size, random), 0, crew.workers());
}

TEST_P(Blending, OfWindowsSoLargeThatDistancesAreCutOff) {
    Crew crew;
    Random random(24);
    const FrameSize size{1400, 61, 1};  // 0.2 a row: 255 is 1275 rows away
    for (const std::int32_t frameKind : {2, 3, 5}) {
        Bytes canvas = fullImage(size, random);
        canvas[1380 * size.cols + 30] = 0;
        expectPlainBlend(size, canvas, someImage(size, frameKind, random), 0, crew.workers());
    }
    const FrameSize wide{40, 1400, 3};
    for (const std::int32_t frameKind : {0, 1, 5})
        expectPlainBlend(wide, someImage(wide, 2, random), someImage(wide, frameKind, random), 9, nullptr);
}

TEST_P(Blending, AFullFrameHasTheDistancesToItsEdge) {
    Random random(25);
    for (const auto& [rows, cols] : {std::pair{2700, 2600}, {20, 2700}}) {
        const FrameSize size{rows, cols, 1};
        Bytes canvas = fullImage(size, random);
        scatterZeros(canvas, size, 3, random);
        expectPlainBlend(size, canvas, fullImage(size, random), 0, nullptr);
    }
}

BRANTEL_AT_EVERY_LEVEL(Blending);

}  // namespace
}  // namespace brantel::test
