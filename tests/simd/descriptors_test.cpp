// Descriptors from the gradient table against those from the formula.
#include "registration/descriptors.h"

#include "common/crew.h"
#include "common/tuning.h"
#include "plain/descriptors.h"
#include "simd/at_level.h"
#include "simd/crew.h"
#include "simd/rows.h"

namespace brantel::test {
namespace {

TEST(Descriptors, KnowEveryGradient) {
    for (std::int32_t gy = -255; gy <= 255; ++gy)
        for (std::int32_t gx = -255; gx <= 255; ++gx) {
            ASSERT_EQ(gradientMagnitude(gx, gy), plain::gradientMagnitude(gx, gy)) << gx << ", " << gy;
            ASSERT_EQ(gradientBin(gx, gy), plain::gradientBin(gx, gy)) << gx << ", " << gy;
            ASSERT_EQ(tabulatedGradient(gx, gy), 8 * gradientMagnitude(gx, gy) + gradientBin(gx, gy));
        }
}

/// Points at every edge, inside, and beyond all edges.
std::vector<CornerPoint> pointsAround(std::int32_t rows, std::int32_t cols, Random& random) {
    std::vector<CornerPoint> points;
    for (const std::int32_t y : {-40, -11, -10, -1, 0, 1, 9, 10, 11, 12, rows / 2, rows - 12, rows - 10,
                                 rows - 9, rows - 1, rows, rows + 9, rows + 10, rows + 40})
        for (const std::int32_t x : {-40, -11, -9, 0, 2, 10, 12, cols / 2, cols - 11, cols - 10, cols - 2,
                                     cols, cols + 10, cols + 40})
            points.push_back({x, y});
    for (int i = 0; i < 50; ++i)
        points.push_back({random.between(-20, cols + 20), random.between(-20, rows + 20)});
    points.push_back({1000000, 5});
    points.push_back({5, -1000000});
    return points;
}

TEST(Descriptors, AtAndBeyondEveryEdgeAreThePlainOnes) {
    Crew crew;
    Random random(1);
    std::uint64_t seed = 1;
    for (const std::int32_t rows : {1, 2, 3, 4, 20, 21, 40, 61})
        for (const std::int32_t cols : {1, 2, 3, 5, 22, 41, 70})
            for (const Contents contents : allContents) {
                std::vector<std::uint8_t> bytes = bytesOf(contents, std::int64_t{rows} * cols, seed++);
                bytes.resize(bytes.size() + cols);  // the row behind the frame
                const auto frame = placed(bytes, places[seed % 6]);
                std::vector<CornerPoint> points = pointsAround(rows, cols, random);
                std::vector<CornerPoint> again = points;
                GuardedBuffer<std::uint16_t> out(points.size() * descriptorLength);
                std::vector<std::uint16_t> expected(points.size() * descriptorLength);
                WorkerPair* workers = seed % 3 == 0 ? crew.workers() : nullptr;
                GuardedBuffer<std::uint16_t> scratch(descriptorLength * (workers != nullptr ? crewSize : 1));
                std::fill(scratch.begin(), scratch.end(), 77);
                std::vector<std::uint16_t> plainScratch(descriptorLength, 77);
                ASSERT_TRUE(buildCornerDescriptors(frame->data(), rows, cols, descriptorLength,
                                                   descriptorWindow, points, scratch.data(), out.data(),
                                                   workers));
                ASSERT_TRUE(plain::buildCornerDescriptors(frame->data(), rows, cols, descriptorLength,
                                                          descriptorWindow, again, plainScratch.data(),
                                                          expected.data()));
                ASSERT_EQ(valuesOf(out), expected) << rows << " x " << cols;
                ASSERT_TRUE(out.intact() && scratch.intact());
                ASSERT_TRUE(points.empty() && again.empty());
            }
}

}  // namespace
}  // namespace brantel::test
