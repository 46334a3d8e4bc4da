// The fast seam leaves the same bytes as masks, distances, weights and fusion one after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "compose/seam.h"
#include "compose/weights.h"
#include "cpu/image_ops.h"
#include "support/guarded_buffer.h"
#include "support/levels.h"
#include "support/picture.h"

namespace brantel {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Content with empty rectangles and single empty pixels.
Bytes image(const FrameSize& size, std::int32_t rectangles, std::int32_t pixels, std::uint64_t seed) {
    Bytes samples = test::randomBytes(size.bytes(), seed);
    for (std::uint8_t& sample : samples) sample = std::max<std::uint8_t>(sample, 2);
    test::Random random(seed + 1);
    const auto empty = [&](std::int32_t r, std::int32_t c) {
        std::fill_n(samples.begin() + (std::int64_t{r} * size.cols + c) * size.channels, size.channels,
                    std::uint8_t{0});
    };
    for (std::int32_t i = 0; i < rectangles; ++i) {
        const std::int32_t r0 = random.between(-size.rows / 2, size.rows - 1);
        const std::int32_t c0 = random.between(-size.cols / 2, size.cols - 1);
        const std::int32_t r1 = r0 + random.between(1, size.rows);
        const std::int32_t c1 = c0 + random.between(1, size.cols);
        for (std::int32_t r = std::max(0, r0); r < std::min(size.rows, r1); ++r)
            for (std::int32_t c = std::max(0, c0); c < std::min(size.cols, c1); ++c) empty(r, c);
    }
    for (std::int32_t i = 0; i < pixels; ++i)
        empty(random.between(0, size.rows - 1), random.between(0, size.cols - 1));
    return samples;
}

Bytes greyOfImage(const Bytes& samples, const FrameSize& size) {
    if (size.channels == 1) return samples;
    Bytes grey(static_cast<std::size_t>(size.pixels()));
    rgb2gray(samples.data(), size.rows, size.cols, grey.data());
    return grey;
}

Bytes stepByStep(const Bytes& cut, const Bytes& frame, const FrameSize& size) {
    std::vector<float> a(static_cast<std::size_t>(size.pixels()));
    std::vector<float> b(a.size());
    Bytes weights(a.size());
    Bytes blended = frame;
    weightMask(cut.data(), frame.data(), size.rows, size.cols, size.channels, a.data(), b.data(),
               weights.data());
    fuseImages(cut.data(), weights.data(), size.pixels(), size.channels, blended.data());
    return blended;
}

using Spans = std::vector<ColumnSpan>;

/// For each row the columns outside of which a picture is black, as a canvas knows them on which the picture
/// begins at a column.
Spans paintedSpans(const Bytes& cut, const FrameSize& size, std::int32_t firstColumn) {
    Spans spans(static_cast<std::size_t>(size.rows));
    for (std::int32_t r = 0; r < size.rows; ++r)
        for (std::int32_t c = 0; c < size.cols; ++c) {
            const auto at = cut.begin() + (std::int64_t{r} * size.cols + c) * size.channels;
            if (std::count(at, at + size.channels, 0) == size.channels) continue;
            ColumnSpan& span = spans[static_cast<std::size_t>(r)];
            span = united(span, {firstColumn + c, firstColumn + c + 1});
        }
    return spans;
}

/// Blends into a window of a canvas that ends at a guard page, and looks at everything around it.
void expectSameSeam(const Bytes& cut, const Bytes& frame, const FrameSize& size, SeamScratch& scratch,
                    WorkerPair* workers, const Spans& painted, std::int32_t firstColumn) {
    const std::int64_t margin = 3;
    const std::int64_t stride = (size.cols + 2 * margin) * size.channels;
    const std::int64_t line = std::int64_t{size.cols} * size.channels;
    const std::int64_t before = margin * size.channels;
    test::GuardedBuffer<std::uint8_t> canvas(
        static_cast<std::size_t>(stride * (size.rows - 1) + before + line));
    std::fill(canvas.begin(), canvas.end(), 0xEE);
    std::uint8_t* window = canvas.data() + before;
    for (std::int64_t r = 0; r < size.rows; ++r)
        std::memcpy(window + r * stride, cut.data() + r * line, line);

    const Bytes grey = greyOfImage(frame, size);
    const auto guardedFrame = test::GuardedBuffer<std::uint8_t>::copyOf(frame);
    const auto guardedGrey = test::GuardedBuffer<std::uint8_t>::copyOf(grey);
    test::GuardedBuffer<std::uint8_t> blendedGrey(grey.size());
    const SeamFrame seamFrame(guardedFrame->data(), guardedGrey->data(), size);
    EXPECT_EQ(seamFrame.isFull, std::count(grey.begin(), grey.end(), 0) == 0);
    scratch.ensure(size, seamFrame.isFull);
    blendSeam({window, stride, painted.data(), firstColumn}, seamFrame, size, scratch, blendedGrey.data(),
              workers);

    const Bytes expected = stepByStep(cut, frame, size);
    for (std::int64_t r = 0; r < size.rows; ++r)
        ASSERT_EQ(std::memcmp(window + r * stride, expected.data() + r * line, line), 0) << "row " << r;
    const Bytes expectedGrey = greyOfImage(expected, size);
    ASSERT_TRUE(std::equal(expectedGrey.begin(), expectedGrey.end(), blendedGrey.begin()));
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(canvas.size()); ++i) {
        const std::int64_t column = i % stride;
        if (column < before || column >= before + line) {
            ASSERT_EQ(canvas[static_cast<std::size_t>(i)], 0xEE) << "beside the window";
        }
    }
    EXPECT_TRUE(canvas.intact() && blendedGrey.intact() && guardedFrame->intact() && guardedGrey->intact());
}

/// The canvas may be known to be painted within some region, or nothing may be known about it.
void expectSameSeam(const Bytes& cut, const Bytes& frame, const FrameSize& size, SeamScratch& scratch,
                    WorkerPair* workers) {
    const Spans anywhere(static_cast<std::size_t>(size.rows), {0, 10000});
    expectSameSeam(cut, frame, size, scratch, workers, anywhere, 5000);
    expectSameSeam(cut, frame, size, scratch, workers, paintedSpans(cut, size, 300), 300);
}

constexpr FrameSize sizes[] = {{1, 1, 1},    {1, 1, 3},    {2, 2, 1},     {3, 3, 3},
                               {1, 70, 1},   {70, 1, 3},   {5, 90, 1},    {90, 5, 3},
                               {16, 16, 1},  {17, 33, 3},  {64, 64, 1},   {65, 63, 3},
                               {33, 130, 1}, {100, 71, 3}, {131, 129, 1}, {48, 257, 1}};

class Seam : public testing::Test {
  protected:
    WorkerPair workers;
    SeamScratch scratch;  // kept over all sizes, as a session keeps it

    void SetUp() override {
        ASSERT_TRUE(workers.model.start(nullptr));
        ASSERT_TRUE(workers.match.start(nullptr));
    }
    void TearDown() override {
        workers.clearRunFlags();
        workers.model.join();
        workers.match.join();
    }
};

TEST_F(Seam, FullFramesOverPatchyCanvases) {
    test::atEveryLevel([&] {
        for (const FrameSize& size : sizes)
            for (std::int32_t patches = 0; patches < 4; ++patches)
                expectSameSeam(image(size, patches, 0, 7U + patches), image(size, 0, 0, 99), size, scratch,
                               patches % 2 == 0 ? &workers : nullptr);
    });
}

TEST_F(Seam, FramesWithEmptyPixels) {
    test::atEveryLevel([&] {
        for (const FrameSize& size : sizes)
            for (std::int32_t patches = 0; patches < 3; ++patches)
                expectSameSeam(image(size, 2, 5, 3U + patches), image(size, patches, 1 + 9 * patches, 55),
                               size, scratch, &workers);
    });
}

TEST_F(Seam, EmptyCanvasesAndEmptyFrames) {
    test::atEveryLevel([&] {
        for (const FrameSize& size : sizes) {
            const Bytes empty(static_cast<std::size_t>(size.bytes()), 0);
            const Bytes full = image(size, 0, 0, 4);
            expectSameSeam(empty, full, size, scratch, &workers);
            expectSameSeam(full, empty, size, scratch, &workers);
            expectSameSeam(empty, empty, size, scratch, nullptr);
        }
    });
}

TEST_F(Seam, TheUsualOverlapsOfALargerFrame) {
    test::atEveryLevel([&] {
        for (const std::int32_t channels : {1, 3})
            for (const auto& [dx, dy] :
                 {std::pair{90, 0}, std::pair{-90, 20}, std::pair{0, -75}, std::pair{40, 66}}) {
                const FrameSize size{211, 303, channels};
                Bytes cut = image(size, 0, 0, 8);
                for (std::int32_t r = 0; r < size.rows; ++r)
                    for (std::int32_t c = 0; c < size.cols; ++c) {
                        const bool covered =
                            r + dy >= 0 && r + dy < size.rows && c + dx >= 0 && c + dx < size.cols;
                        if (!covered)
                            std::fill_n(cut.begin() + (std::int64_t{r} * size.cols + c) * channels, channels,
                                        std::uint8_t{0});
                    }
                expectSameSeam(cut, image(size, 0, 0, 12), size, scratch, &workers);
            }
    });
}

}  // namespace
}  // namespace brantel
