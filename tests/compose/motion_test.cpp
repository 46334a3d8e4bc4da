// The motion measure taken row by row equals smoothing both frames whole and comparing them.
#include "compose/motion.h"

#include "reference/filters.h"
#include "reference/image_ops.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class Motion : public AtLevel {
  protected:
    Bytes smoothed(Bytes image, std::int32_t rows, std::int32_t cols) {
        Bytes a(static_cast<std::size_t>(rows + 4) * static_cast<std::size_t>(cols + 4));
        Bytes b(a.size());
        reference::smoothGrey(toOutput(), image.data(), rows, cols, a.data(), b.data());
        return image;
    }
    std::int64_t between(const Bytes& a, const Bytes& b, std::int32_t rows, std::int32_t cols) {
        return reference::meanAbsoluteDifference(smoothed(a, rows, cols).data(),
                                                 smoothed(b, rows, cols).data(), std::int64_t{rows} * cols);
    }

    IdleWorkers workers_;
};

TEST_P(Motion, OfAllContentsAndSizes) {
    std::uint64_t seed = 1;
    for (const std::int32_t rows : {1, 2, 3, 4, 5, 6, 33, 70, 90})
        for (const std::int32_t cols : {1, 2, 3, 4, 5, 6, 15, 16, 17, 63, 64, 65, 100, 131, 257}) {
            MotionReference motion;
            Bytes last = bytesOf(Contents::random, std::int64_t{rows} * cols, seed);
            for (const Contents contents : allContents) {
                const Bytes bytes = bytesOf(contents, std::int64_t{rows} * cols, seed++);
                const Place& place = places[seed % 6];
                const bool first = contents == allContents[0];
                EXPECT_EQ(motion.measure(first ? placed(last, place)->data() : nullptr,
                                         placed(bytes, place)->data(), rows, cols,
                                         seed % 2 == 0 ? workers_.pair() : nullptr),
                          between(last, bytes, rows, cols))
                    << rows << " x " << cols;
                motion.accept();
                last = bytes;
            }
        }
}

TEST_P(Motion, OfSmallFramesAgainstEveryGrey) {
    // A mean hides a little; so many different ones hide nothing.
    std::uint64_t seed = 1;
    for (std::int32_t rows = 3; rows <= 8; ++rows)
        for (const std::int32_t cols : {3, 4, 5, 6, 7, 16, 33}) {
            const std::int64_t pixels = std::int64_t{rows} * cols;
            const Bytes bytes = randomBytes(pixels, seed++);
            const Bytes expected = smoothed(bytes, rows, cols);
            MotionReference motion;
            for (std::int32_t grey = 0; grey <= 255; ++grey) {
                const Bytes flat(static_cast<std::size_t>(pixels), static_cast<std::uint8_t>(grey));
                ASSERT_EQ(motion.measure(flat.data(), bytes.data(), rows, cols, nullptr),
                          reference::meanAbsoluteDifference(flat.data(), expected.data(), pixels))
                    << rows << " x " << cols << ", grey " << grey;
            }
        }
}

TEST_P(Motion, AlongASequenceIsMeasuredAgainstTheLastAcceptedFrame) {
    for (const auto& [rows, cols] : {std::pair{1, 1}, {2, 40}, {3, 3}, {61, 90}, {97, 131}}) {
        const std::int64_t pixels = std::int64_t{rows} * cols;
        MotionReference motion;
        Bytes lastSeen;
        Random random(rows);
        for (int i = 0; i < 14; ++i) {
            WorkerPair* workers = i % 2 == 0 ? workers_.pair() : nullptr;
            const Bytes grey = bytesOf(i % 4 == 3 ? Contents::white : Contents::random, pixels, 100 + i);
            const bool first = i == 0 || i == 9;  // a new mosaic measures against its own first frame
            if (first) lastSeen = bytesOf(Contents::random, pixels, 200 + i);
            EXPECT_EQ(motion.measure(first ? lastSeen.data() : nullptr, grey.data(), rows, cols, workers),
                      between(lastSeen, grey, rows, cols))
                << rows << " x " << cols << ", frame " << i;
            if (first || random.between(0, 3) > 0) {
                motion.accept();
                lastSeen = grey;
            }
            if (i == 5) {  // one that was not measured
                lastSeen = bytesOf(Contents::random, pixels, 300);
                motion.setGrey(lastSeen.data(), pixels);
            }
        }
    }
}

TEST_P(Motion, OfTheSameFrameIsZeroOfBlackAndWhite255) {
    MotionReference motion;
    const Bytes black(30 * 40, 0);
    const Bytes white(30 * 40, 255);
    EXPECT_EQ(motion.measure(black.data(), white.data(), 30, 40, nullptr), 255);
    EXPECT_EQ(motion.measure(black.data(), black.data(), 30, 40, nullptr), 0);
}

BRANTEL_AT_EVERY_LEVEL(Motion);

}  // namespace
}  // namespace brantel::test
