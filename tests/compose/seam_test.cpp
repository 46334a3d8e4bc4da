// Blending in place, block by block and with idle workers, leaves the bytes of masks, distances, weights and fusion of whole
// images.
#include "compose/seam.h"

#include <algorithm>

#include "reference/image_ops.h"
#include "reference/weights.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Spans = std::vector<ColumnSpan>;

/// A random rectangle of the image becomes 0.
void cutHole(Bytes& image, const ImageDesc& size, Random& random) {
    const std::int32_t top = random.between(0, size.rows - 1);
    const std::int32_t left = random.between(0, size.cols - 1);
    const std::int32_t bottom = random.between(top, size.rows - 1);
    const std::int32_t right = random.between(left, size.cols - 1);
    for (std::int32_t r = top; r <= bottom; ++r)
        std::fill_n(image.begin() + (std::int64_t{r} * size.cols + left) * size.channels,
                    (right - left + 1) * size.channels, std::uint8_t{0});
}

void scatterZeros(Bytes& image, const ImageDesc& size, std::int32_t count, Random& random) {
    const auto last = static_cast<std::int32_t>(size.pixels()) - 1;
    for (std::int32_t i = 0; i < count; ++i)
        std::fill_n(image.begin() + std::int64_t{random.between(0, last)} * size.channels, size.channels,
                    std::uint8_t{0});
}

Bytes fullImage(const ImageDesc& size, Random& random) {
    Bytes image = randomBytes(size.bytes(), random.next());
    for (std::uint8_t& sample : image) sample = std::max<std::uint8_t>(sample, 2);
    return image;
}

/// Empty, full, or full but for holes, an edge or single pixels.
Bytes someImage(const ImageDesc& size, std::int32_t kind, Random& random) {
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

Bytes greyImage(const Bytes& image, const ImageDesc& size) {
    if (size.channels == 1) return image;
    Bytes grey(size.pixels());
    reference::rgb2gray(toOutput(), image.data(), size.rows, size.cols, grey.data());
    return grey;
}

/// For each row the columns outside of which a picture is black, as a canvas knows them on which the picture begins at a
/// column.
Spans paintedSpans(const Bytes& picture, const ImageDesc& size, std::int32_t firstColumn) {
    Spans spans(static_cast<std::size_t>(size.rows));
    for (std::int32_t r = 0; r < size.rows; ++r)
        for (std::int32_t c = 0; c < size.cols; ++c) {
            const auto at = picture.begin() + (std::int64_t{r} * size.cols + c) * size.channels;
            if (std::count(at, at + size.channels, 0) == size.channels) continue;
            ColumnSpan& span = spans[static_cast<std::size_t>(r)];
            span = united(span, {firstColumn + c, firstColumn + c + 1});
        }
    return spans;
}

class Blending : public AtLevel {
  protected:
    /// With nothing known about the canvas, and with it known where it is painted. Between the window's rows lie slack
    /// bytes that must stay.
    void expectBlend(const ImageDesc& size, const Bytes& canvas, const Bytes& frame, std::int64_t slack,
                     bool help) {
        Bytes expected = frame;
        std::vector<float> maskA(size.pixels());
        std::vector<float> maskB(size.pixels());
        Bytes weights(size.pixels());
        reference::weightMask(toOutput(), canvas.data(), frame.data(), size.rows, size.cols, size.channels,
                              maskA.data(), maskB.data(), weights.data());
        reference::fuseImages(canvas.data(), weights.data(), size.pixels(), size.channels, expected.data());
        WorkerPair* workers = help ? workers_.pair() : nullptr;
        blend(size, canvas, frame, expected, slack, Spans(size.rows, {0, 10000}), 5000, workers);
        blend(size, canvas, frame, expected, slack, paintedSpans(canvas, size, 300), 300, workers);
    }

  private:
    void blend(const ImageDesc& size, const Bytes& canvas, const Bytes& frame, const Bytes& expected,
               std::int64_t slack, const Spans& painted, std::int32_t firstColumn, WorkerPair* workers) {
        const Place& place = places[static_cast<std::size_t>(slack + size.cols) % 6];
        const std::int64_t rowBytes = std::int64_t{size.cols} * size.channels;
        const std::int64_t stride = rowBytes + slack;
        Bytes wide((size.rows - 1) * stride + rowBytes, 0x5A);
        const auto fill = [&](const Bytes& picture) {
            for (std::int64_t r = 0; r < size.rows; ++r)
                std::copy_n(picture.begin() + r * rowBytes, rowBytes, wide.begin() + r * stride);
        };
        fill(canvas);
        const Bytes frameGrey = greyImage(frame, size);
        const auto window = placed(wide, place);
        const auto samples = placed(frame, place);
        const auto grey = placed(frameGrey, place);
        GuardedBuffer<std::uint8_t> blendedGrey(size.pixels(), place.guard, place.off);

        const SeamFrame seamFrame(samples->data(), grey->data(), size);
        EXPECT_EQ(seamFrame.isFull, std::count(frameGrey.begin(), frameGrey.end(), 0) == 0);
        scratch_.ensure(size, seamFrame.isFull, arena_);
        blendSeam({window->data(), stride, painted.data(), firstColumn}, seamFrame, size, scratch_,
                  blendedGrey.data(), workers);

        fill(expected);
        EXPECT_TRUE(valuesOf(*window) == wide) << firstDifference(*window, wide, stride);
        EXPECT_TRUE(valuesOf(blendedGrey) == greyImage(expected, size));
        EXPECT_TRUE(window->intact() && blendedGrey.intact());
        EXPECT_TRUE(valuesOf(*samples) == frame && valuesOf(*grey) == frameGrey);
    }

    static testing::Message firstDifference(GuardedBuffer<std::uint8_t>& found, const Bytes& expected,
                                            std::int64_t stride) {
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (found[i] != expected[i])
                return testing::Message() << "row " << i / stride << ", byte " << i % stride << ": "
                                          << int{found[i]} << " for " << int{expected[i]};
        return {};
    }

    SeamScratch scratch_;  // kept from frame to frame, with whatever the last one left
    Arena<Buffer<float>> arena_;
    IdleWorkers workers_;
};

TEST_P(Blending, OfSmallWindowsOfAllShapes) {
    Random random(21);
    for (std::int32_t rows = 1; rows <= 70; ++rows)
        for (std::int32_t i = 0; i < 24; ++i) {
            const ImageDesc size{0, i % 2 == 0 ? 3 : 1, rows, i < 4 ? i + 1 : random.between(1, 90)};
            const std::int32_t canvasKind = random.between(0, 5);
            const std::int32_t frameKind = random.between(0, 5);
            SCOPED_TRACE(testing::Message() << size.rows << " x " << size.cols << " x " << size.channels
                                            << ", canvas " << canvasKind << ", frame " << frameKind);
            const Bytes canvas = someImage(size, canvasKind, random);
            const Bytes frame = someImage(size, frameKind, random);
            expectBlend(size, canvas, frame, random.between(0, 40), i % 8 == 7);
            if (HasFailure()) return;
        }
}

TEST_P(Blending, OfFramesWithEmptyRowsOverAnyCanvas) {
    Random random(22);
    for (const std::int32_t channels : {1, 3})
        for (const std::int32_t empty : {1, 14, 15, 16, 17, 18, 31, 32, 33, 34, 50}) {
            const ImageDesc size{0, channels, 70, 83};
            for (const std::int32_t start : {0, 1, 2, 15, 16, 17, 20}) {
                Bytes frame = fullImage(size, random);
                std::fill_n(frame.begin() + start * size.cols * channels, empty * size.cols * channels,
                            std::uint8_t{0});
                for (const std::int32_t canvasKind : {0, 1, 2, 3, 5}) {
                    SCOPED_TRACE(testing::Message() << channels << " channels, rows " << start << " to "
                                                    << start + empty << ", canvas " << canvasKind);
                    expectBlend(size, someImage(size, canvasKind, random), frame, 5, false);
                }
                if (HasFailure()) return;
            }
        }
}

TEST_P(Blending, WithTheWorkersHelp) {
    Random random(23);
    for (const std::int32_t rows : {1, 3, 33, 100, 161})
        for (const std::int32_t channels : {1, 3})
            for (std::int32_t kinds = 0; kinds < 36; kinds += 5) {
                const ImageDesc size{0, channels, rows, random.between(1, 260)};
                SCOPED_TRACE(testing::Message()
                             << rows << " x " << size.cols << " x " << channels << ", kinds " << kinds);
                const Bytes canvas = someImage(size, kinds / 6, random);
                const Bytes frame = someImage(size, kinds % 6, random);
                expectBlend(size, canvas, frame, 3 * kinds, true);
                if (HasFailure()) return;
            }
}

TEST_P(Blending, OfTheUsualOverlapsOfALargerFrame) {
    Random random(27);
    for (const std::int32_t channels : {1, 3})
        for (const auto& [dx, dy] : {std::pair{90, 0}, {-90, 20}, {0, -75}, {40, 66}}) {
            const ImageDesc size{0, channels, 211, 303};
            Bytes canvas = fullImage(size, random);
            for (std::int32_t r = 0; r < size.rows; ++r)
                for (std::int32_t c = 0; c < size.cols; ++c) {
                    const bool covered =
                        r + dy >= 0 && r + dy < size.rows && c + dx >= 0 && c + dx < size.cols;
                    if (!covered)
                        std::fill_n(canvas.begin() + (std::int64_t{r} * size.cols + c) * channels, channels,
                                    std::uint8_t{0});
                }
            expectBlend(size, canvas, fullImage(size, random), 6, true);
        }
}

TEST_P(Blending, OfWindowsWithWorkForAllThreadsAtOnce) {
    Random random(26);
    const ImageDesc size{0, 1, 1000, 900};
    const Bytes canvas = someImage(size, 2, random);
    for (int i = 0; i < 2; ++i) expectBlend(size, canvas, fullImage(size, random), 0, true);
}

TEST_P(Blending, OfWindowsSoLargeThatDistancesAreCutOff) {
    Random random(24);
    const ImageDesc size{0, 1, 1400, 61};  // 0.2 a row: 255 is 1275 rows away
    for (const std::int32_t frameKind : {2, 3, 5}) {
        Bytes canvas = fullImage(size, random);
        canvas[1380 * size.cols + 30] = 0;
        expectBlend(size, canvas, someImage(size, frameKind, random), 0, true);
    }
    const ImageDesc wide{0, 3, 40, 1400};
    for (const std::int32_t frameKind : {0, 1, 5})
        expectBlend(wide, someImage(wide, 2, random), someImage(wide, frameKind, random), 9, false);
}

TEST_P(Blending, AFullFrameHasTheDistancesToItsEdge) {
    Random random(25);
    for (const auto& [rows, cols] : {std::pair{2700, 2600}, {20, 2700}}) {
        const ImageDesc size{0, 1, rows, cols};
        Bytes canvas = fullImage(size, random);
        scatterZeros(canvas, size, 3, random);
        expectBlend(size, canvas, fullImage(size, random), 0, false);
    }
}

BRANTEL_AT_EVERY_LEVEL(Blending);

}  // namespace
}  // namespace brantel::test
