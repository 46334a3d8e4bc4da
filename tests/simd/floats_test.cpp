// The loops over gradient products, descriptors and coordinates, each against the reference or the same thing written out.
#include <algorithm>
#include <cmath>

#include "common/tuning.h"
#include "reference/filters.h"
#include "reference/harris.h"
#include "reference/image_ops.h"
#include "registration/harris.h"
#include "support/at_level.h"
#include "support/rows.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

using Floats = std::vector<float>;

class FloatLoops : public AtLevel {
  protected:
    const simd::Kernels& kernels() const { return simd::kernels(); }
    const simd::CornerKernels& corners() const { return simd::cornerKernels(); }
};

/// Whole numbers as products have them, or fractions as filters leave them.
Floats products(std::int64_t count, std::uint64_t seed) {
    Random random(seed);
    Floats values(static_cast<std::size_t>(count));
    for (float& value : values) {
        value = static_cast<float>(random.between(0, 65025));
        if (seed % 3 == 0) value *= 0.187627003F;
        if (seed % 7 == 0) value = seed % 2 == 0 ? 0.0F : 65025.0F;
    }
    return values;
}

TEST_P(FloatLoops, GradientRow) {
    forAllRows([&](std::int64_t inner, Contents contents, const Place& place, std::uint64_t seed) {
        const auto cols = static_cast<std::int32_t>(inner + 2);
        const auto image = placed(bytesOf(contents, 3 * cols, seed), place);
        const std::uint8_t* at = image->data() + cols;
        GuardedBuffer<float> xx(cols, place.guard, place.off);
        GuardedBuffer<float> yy(cols, place.guard, place.off);
        GuardedBuffer<float> xy(cols, place.guard, place.off);
        corners().gradientRow(at - cols, at, at + cols, 1, cols - 1, xx.data(), yy.data(), xy.data());
        Floats expected[3];
        for (Floats& product : expected) product.resize(3 * cols);
        reference::findGradSquareCrossTerms(toOutput(), image->data(), 3, cols, expected[0].data(),
                                            expected[1].data(), expected[2].data());
        GuardedBuffer<float>* found[3] = {&xx, &yy, &xy};
        for (int p = 0; p < 3; ++p) {
            ASSERT_EQ(valuesOf(*found[p]),
                      Floats(expected[p].begin() + cols, expected[p].begin() + 2 * cols));
            ASSERT_TRUE(found[p]->intact());
        }
    });
}

TEST_P(FloatLoops, GradientRowStaysInsideItsColumns) {
    const std::int32_t cols = 90;
    const std::vector<std::uint8_t> image = randomBytes(3 * cols, 5);
    Floats all[3];
    for (Floats& product : all) product.resize(cols);
    corners().gradientRow(image.data(), image.data() + cols, image.data() + 2 * cols, 1, cols - 1,
                          all[0].data(), all[1].data(), all[2].data());
    for (std::int64_t first = 1; first < cols - 1; first += 3)
        for (std::int64_t last = first; last <= cols - 1; last += 5) {
            Floats part[3];
            for (Floats& product : part) product.assign(cols, -7.0F);
            corners().gradientRow(image.data(), image.data() + cols, image.data() + 2 * cols, first, last,
                                  part[0].data(), part[1].data(), part[2].data());
            for (int p = 0; p < 3; ++p)
                for (std::int64_t c = 0; c < cols; ++c)
                    ASSERT_EQ(part[p][c], c >= first && c < last ? all[p][c] : -7.0F);
        }
}

/// Rows of cols values in the middle of a black image, of which the corner border leaves the middle row only, but for margin
/// columns on both sides.
struct Bordered {
    std::int32_t cols;
    std::int32_t before;
    Floats image;

    Bordered(const float* rows, std::int32_t rowCount, std::int32_t rowCols, std::int32_t margin)
        : cols(rowCols + 2 * (harrisBorder - margin)), before(harrisBorder - margin), image(41 * cols) {
        for (std::int32_t r = 0; r < rowCount; ++r)
            std::copy_n(rows + r * rowCols, rowCols, &image[(20 - rowCount / 2 + r) * cols + before]);
    }
};

/// The response of the middle one of five rows of products, from the whole images.
Floats responseOf(const Floats* images, std::int32_t cols) {
    std::vector<Bordered> filtered;
    for (int p = 0; p < 3; ++p) {
        Floats columnFiltered(5 * cols);
        Floats both(5 * cols);
        reference::filterColumn5(toOutput(), images[p].data(), responseKernel, 5, cols,
                                 columnFiltered.data());
        reference::filterRow5(toOutput(), columnFiltered.data(), responseKernel, 5, cols, both.data());
        filtered.emplace_back(&both[2 * cols], 1, cols, 2);
    }
    Bordered response(&images[0][0], 0, cols, 2);
    float mean = 0;
    float sum = 0;
    reference::calcResponseValue(toOutput(), filtered[0].image.data(), filtered[1].image.data(),
                                 filtered[2].image.data(), harrisK, 41, response.cols, response.image.data(),
                                 &mean, &sum);
    const auto row = response.image.begin() + 20 * response.cols + response.before;
    return {row, row + cols};
}

TEST_P(FloatLoops, HarrisRow) {
    forAllRows([&](std::int64_t inner, Contents, const Place& place, std::uint64_t seed) {
        const auto cols = static_cast<std::int32_t>(inner + 4);
        Floats images[3];
        for (int p = 0; p < 3; ++p) images[p] = products(5 * cols, 3 * seed + p);
        std::unique_ptr<GuardedBuffer<float>> rows[5];
        simd::HarrisRow row{};
        for (int t = 0; t < 5; ++t) {
            Floats line;  // the three products one behind the other
            for (const Floats& image : images)
                line.insert(line.end(), image.begin() + t * cols, image.begin() + (t + 1) * cols);
            rows[t] = placed(line, place);
            row.products[t] = rows[t]->data();
        }
        const auto above = placed(products(cols, seed + 1), place);
        GuardedBuffer<float> filtered(3 * cols, place.guard, place.off);
        GuardedBuffer<float> out(cols, place.guard, place.off);
        row.plane = cols;
        row.filtered = filtered.data();
        row.kernel = responseKernel;
        row.k = harrisK;
        row.response = out.data();
        row.responseAbove = above->data();
        float sum = static_cast<float>(seed) * 1000.3F;
        const float found = corners().harrisRow(row, 2, cols - 2, sum);
        for (std::int64_t x = 2; x < cols - 2; ++x) sum += (*above)[x];
        ASSERT_EQ(found, sum);
        ASSERT_EQ(valuesOf(out), responseOf(images, cols));
        ASSERT_TRUE(out.intact() && filtered.intact());
    });
}

TEST_P(FloatLoops, ResponseRow) {
    forAllRows([&](std::int64_t inner, Contents, const Place& place, std::uint64_t seed) {
        const auto cols = static_cast<std::int32_t>(inner);
        std::unique_ptr<GuardedBuffer<float>> rows[3];
        std::vector<Bordered> images;
        for (int p = 0; p < 3; ++p) {
            rows[p] = placed(products(cols, 3 * seed + static_cast<std::uint64_t>(p)), place);
            images.emplace_back(rows[p]->data(), 1, cols, 0);
        }
        Bordered expected(rows[0]->data(), 0, cols, 0);
        float mean = 0;
        float sum = 0;
        reference::calcResponseValue(toOutput(), images[0].image.data(), images[1].image.data(),
                                     images[2].image.data(), harrisK, 41, expected.cols,
                                     expected.image.data(), &mean, &sum);
        GuardedBuffer<float> out(cols, place.guard, place.off);
        corners().responseRow(rows[0]->data(), rows[1]->data(), rows[2]->data(), cols, harrisK, out.data());
        const auto row = expected.image.begin() + 20 * expected.cols + expected.before;
        ASSERT_EQ(valuesOf(out), Floats(row, row + cols));
        ASSERT_TRUE(out.intact());
    });
}

TEST_P(FloatLoops, MaximaInRow) {
    forAllRows([&](std::int64_t inner, Contents contents, const Place& place, std::uint64_t seed) {
        const std::int64_t cols = inner + 2;
        const std::vector<std::uint8_t> levels = bytesOf(contents, 3 * cols, seed);
        Floats values(levels.begin(), levels.end());
        if (seed % 2 == 0)
            for (float& value : values) value = static_cast<float>(static_cast<int>(value) % 4);  // plateaus
        const auto image = placed(values, place);
        const float* at = image->data() + cols;
        const float threshold = seed % 3 == 0 ? 0.0F : static_cast<float>(seed % 256);
        const Bordered bordered(image->data(), 3, static_cast<std::int32_t>(cols), 1);
        Floats maxima;
        std::vector<CornerPoint> points;
        reference::responseValueMaxSuppression(toOutput(), bordered.image.data(), threshold, 41,
                                               bordered.cols, maxima, points);
        std::vector<std::int32_t> expected;
        for (const CornerPoint& point : points) expected.push_back(point.x - bordered.before);
        GuardedBuffer<std::int32_t> columns(inner + simd::maximaSlack, place.guard, place.off);
        const std::int64_t found =
            corners().maximaInRow(at - cols, at, at + cols, threshold, 1, cols - 1, columns.data());
        ASSERT_EQ(std::vector<std::int32_t>(columns.begin(), columns.begin() + found), expected);
        ASSERT_TRUE(columns.intact());
    });
}

/// found is right when it is the sum, or already above the limit on the way to it.
void expectDistance(std::int64_t found, std::int64_t sum, std::int64_t limit) {
    if (sum <= limit) {
        EXPECT_EQ(found, sum);
    } else {
        EXPECT_GT(found, limit);
        EXPECT_LE(found, sum);
    }
}

TEST_P(FloatLoops, SquaredDistance) {
    Random random(8);
    for (std::int32_t length = 0; length <= 256; ++length)
        for (const Place& place : places) {
            std::vector<std::uint16_t> first(length);
            std::vector<std::uint16_t> second(length);
            const std::int32_t largest = random.between(0, 3) == 0 ? 300 : 6400;
            const bool extreme = random.between(0, 3) == 0;
            std::int64_t sum = 0;
            for (std::int32_t k = 0; k < length; ++k) {
                first[k] = static_cast<std::uint16_t>(extreme ? 6400 : random.between(0, largest));
                second[k] = static_cast<std::uint16_t>(extreme ? 0 : random.between(0, largest));
                const std::int64_t difference = std::int64_t{first[k]} - second[k];
                sum += difference * difference;
            }
            const auto a = placed(first, place);
            const auto b = placed(second, place);
            for (const std::int64_t limit : {std::int64_t{0}, sum / 2, sum - 1, sum, sum + 1, INT64_MAX}) {
                expectDistance(kernels().squaredDistance(a->data(), b->data(), length, limit), sum, limit);
                expectDistance(kernels().squaredDistance(b->data(), a->data(), length, limit), sum, limit);
            }
            ASSERT_FALSE(HasFailure()) << "length " << length << ", " << place;
        }
}

TEST_P(FloatLoops, CountInliers) {
    forAllRows([&](std::int64_t pairs, Contents, const Place& place, std::uint64_t seed) {
        Random random(seed);
        std::unique_ptr<GuardedBuffer<float>> lists[4];
        for (auto& list : lists) {
            Floats values;
            const std::int32_t spread = seed % 4 == 0 ? 3000 : 5;
            for (std::int64_t i = 0; i < pairs; ++i)
                values.push_back(static_cast<float>(random.between(0, spread)));
            list = placed(values, place);
        }
        const auto dx = static_cast<float>(random.between(-4, 4));
        const auto dy = static_cast<float>(random.between(-4, 4));
        std::int64_t expected = 0;
        for (std::int64_t m = 0; m < pairs; ++m) {
            const float ex = ((*lists[2])[m] + dx) - (*lists[0])[m];
            const float ey = ((*lists[3])[m] + dy) - (*lists[1])[m];
            expected += 4.0 > static_cast<double>(std::sqrt(ex * ex + ey * ey)) ? 1 : 0;
        }
        ASSERT_EQ(kernels().countInliers(lists[0]->data(), lists[1]->data(), lists[2]->data(),
                                         lists[3]->data(), pairs, dx, dy),
                  expected);
    });
}

BRANTEL_AT_EVERY_LEVEL(FloatLoops);

}  // namespace
}  // namespace brantel::test
