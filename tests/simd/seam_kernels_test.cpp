// The wavefront loops of blending, a block of rows at a time, against one row and one pixel after the other.
#include <algorithm>
#include <cmath>
#include <limits>

#include "reference/weights.h"
#include "support/at_level.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using simd::seamLanes;
using simd::seamPadBefore;
using simd::seamPadBehind;
using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

constexpr float nothing = std::numeric_limits<float>::quiet_NaN();  // where a loop may read, but not rely on

std::int64_t skewedSize(std::int64_t cols) {
    return (cols + 2 * seamLanes) * seamLanes;
}

std::int64_t skewedAt(std::int64_t row, std::int64_t col) {
    return (row + col) * seamLanes + row;
}

std::int64_t paddedSize(std::int64_t cols) {
    return seamPadBefore + cols + seamPadBehind;
}

Floats paddedLine(const float* values, std::int64_t cols) {
    Floats line(paddedSize(cols), nothing);
    std::copy_n(values, cols, line.begin() + seamPadBefore);
    return line;
}

std::vector<std::int64_t> widths() {
    std::vector<std::int64_t> all;
    for (std::int64_t i = 1; i <= 70; ++i) all.push_back(i);
    for (const std::int64_t i : {95, 96, 97, 127, 128, 129}) all.push_back(i);
    return all;
}

class SeamLoops : public AtLevel {
  protected:
    const simd::SeamKernels& kernels() const { return simd::seamKernels(); }
};

TEST_P(SeamLoops, SkewRowsMovesEveryPixel) {
    for (const std::int64_t cols : widths())
        for (const Place& place : places) {
            const std::int64_t stride = paddedSize(cols);
            const auto rows = placed(randomBytes(seamLanes * stride, cols), place);
            GuardedBuffer<std::uint8_t> skewed(skewedSize(cols), place.guard, place.off);
            const std::uint8_t* first = rows->data() + seamPadBefore;
            kernels().skewRows(first, stride, cols, skewed.data());
            for (std::int64_t r = 0; r < seamLanes; ++r)
                for (std::int64_t c = 0; c < cols; ++c)
                    ASSERT_EQ(skewed[skewedAt(r, c)], first[r * stride + c]) << r << ", " << c;
            ASSERT_TRUE(skewed.intact());
        }
}

TEST_P(SeamLoops, UnskewRowsBringsThemBack) {
    for (const std::int64_t cols : widths())
        for (const Place& place : places) {
            const std::int64_t stride = paddedSize(cols);
            const auto skewed = placed(randomBytes(skewedSize(cols), cols), place);
            GuardedBuffer<std::uint8_t> rows(seamLanes * stride, place.guard, place.off);
            std::uint8_t* first = rows.data() + seamPadBefore;
            kernels().unskewRows(skewed->data(), cols, first, stride);
            for (std::int64_t r = 0; r < seamLanes; ++r)
                for (std::int64_t c = 0; c < cols; ++c)
                    ASSERT_EQ(first[r * stride + c], (*skewed)[skewedAt(r, c)]) << r << ", " << c;
            ASSERT_TRUE(rows.intact());
        }
}

/// A block of rows between the row above and the row below, as the whole image has them.
struct Block {
    Block(std::int64_t rowCount, std::int64_t colCount, std::uint64_t seed) : rows(rowCount), cols(colCount) {
        Random random(seed);
        distances.resize((rows + 2) * cols);
        const std::int32_t empties = random.between(0, 3);
        for (std::size_t i = 0; i < distances.size(); ++i) {
            const bool inside = i >= static_cast<std::size_t>(cols) && i < distances.size() - cols;
            const bool empty = empties == 0 ? random.between(0, 1) == 0 : random.between(0, 60) < empties;
            // finished rows hold distances, the rows between them occupancy
            distances[i] = inside ? (empty ? 0.0F : 255.0F)
                                  : std::min(255.0F, static_cast<float>(random.between(0, 50)) * 0.2F);
        }
        if (seed % 5 == 0)
            std::fill(distances.begin() + cols, distances.end() - cols, seed % 2 == 0 ? 0.0F : 255.0F);
    }

    float at(std::int64_t row, std::int64_t col) const { return distances[(row + 1) * cols + col]; }

    void passForward() { pass(reference::chamferForward); }
    void passBackward() { pass(reference::chamferBackward); }

    std::int64_t rows;
    std::int64_t cols;
    Floats distances;  // with the row above and the row below

  private:
    template <class Pass>
    void pass(Pass&& referencePass) {
        referencePass(distances.data(), static_cast<std::int32_t>(rows) + 2, static_cast<std::int32_t>(cols));
    }
};

/// What a loop left in skewed order, row by row.
Floats unskewed(GuardedBuffer<float>& skewed, std::int64_t rows, std::int64_t cols) {
    Floats values;
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t c = 0; c < cols; ++c) values.push_back(skewed[skewedAt(r, c)]);
    return values;
}

Floats inner(const Block& block) {
    return {block.distances.begin() + block.cols, block.distances.end() - block.cols};
}

class SeamPasses : public SeamLoops {
  protected:
    void forward(Block block, const Place& place, std::uint64_t seed) {
        Bytes occupied = randomBytes(skewedSize(block.cols), seed);
        for (std::int64_t r = 0; r < block.rows; ++r)
            for (std::int64_t c = 0; c < block.cols; ++c)
                occupied[skewedAt(r, c)] = static_cast<std::uint8_t>(block.at(r, c));
        const auto in = placed(occupied, place);
        const auto above = placed(paddedLine(block.distances.data(), block.cols), place);
        GuardedBuffer<float> distances(skewedSize(block.cols), place.guard, place.off);
        GuardedBuffer<float> bottom(paddedSize(block.cols), place.guard, place.off);
        kernels().chamferForward(in->data(), block.cols, block.rows, above->data() + seamPadBefore,
                                 distances.data(), bottom.data() + seamPadBefore);
        block.passForward();
        ASSERT_EQ(unskewed(distances, block.rows, block.cols), inner(block));
        for (std::int64_t c = 0; c < block.cols && block.rows == seamLanes; ++c)
            ASSERT_EQ(bottom[seamPadBefore + c], block.at(block.rows - 1, c)) << "bottom, column " << c;
        ASSERT_TRUE(distances.intact() && bottom.intact());
    }

    void backward(Block block, const Place& place) {
        block.passForward();
        Floats start(skewedSize(block.cols), nothing);
        for (std::int64_t r = 0; r < std::min(block.rows + 1, seamLanes); ++r)
            for (std::int64_t c = 0; c < block.cols; ++c) start[skewedAt(r, c)] = block.at(r, c);
        const auto distances = placed(start, place);
        const auto below =
            placed(paddedLine(block.distances.data() + (block.rows + 1) * block.cols, block.cols), place);
        GuardedBuffer<float> top(paddedSize(block.cols), place.guard, place.off);
        kernels().chamferBackward(block.cols, block.rows, below->data() + seamPadBefore, distances->data(),
                                  top.data() + seamPadBefore);
        block.passBackward();
        ASSERT_EQ(unskewed(*distances, block.rows, block.cols), inner(block));
        for (std::int64_t c = 0; c < block.cols; ++c)
            ASSERT_EQ(top[seamPadBefore + c], block.at(0, c)) << "top, column " << c;
        ASSERT_TRUE(distances->intact() && top.intact());
    }
};

TEST_P(SeamPasses, AreThoseOfOneRowAfterTheOther) {
    std::uint64_t seed = 0;
    for (const std::int64_t cols : widths())
        for (std::int64_t rows = 1; rows <= seamLanes; ++rows) {
            const Place& place = places[++seed % 6];
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", seed " << seed << ", " << place);
            forward(Block(rows, cols, seed), place, seed);
            backward(Block(rows, cols, seed), place);
            if (HasFatalFailure()) return;
        }
}

float someDistance(Random& random) {
    const std::int32_t kind = random.between(0, 5);
    if (kind == 0) return 0.0F;
    if (kind == 1) return 255.0F;
    float distance = 0;
    for (std::int32_t i = random.between(1, 60); i > 0; --i) distance += kind == 2 ? 0.3F : 0.2F;
    return distance;
}

Floats someDistances(std::int64_t count, Random& random) {
    Floats all(count);
    for (float& distance : all) distance = someDistance(random);
    return all;
}

class SeamWeights : public SeamLoops {
  protected:
    /// weigh(canvas, cols, weights, place) fills a block of the canvas's weights and returns what gives the frame's
    /// distance at (row, column).
    template <class Weigh>
    void expectTheReferences(Weigh&& weigh) {
        for (const std::int64_t cols : widths())
            for (const Place& place : places) {
                const auto canvas = placed(someDistances(skewedSize(cols), random), place);
                GuardedBuffer<std::uint8_t> weights(skewedSize(cols), place.guard, place.off);
                const auto frame = weigh(canvas->data(), cols, weights.data(), place);
                for (std::int64_t r = 0; r < seamLanes; ++r)
                    for (std::int64_t c = 0; c < cols; ++c) {
                        const float b = frame(r, c);
                        std::uint8_t expected = 0;
                        reference::weightsFromDistances(&(*canvas)[skewedAt(r, c)], &b, 1, &expected);
                        ASSERT_EQ(weights[skewedAt(r, c)], expected) << r << ", " << c << " of " << cols;
                    }
                ASSERT_TRUE(weights.intact());
            }
    }

    Random random{4};
};

TEST_P(SeamWeights, FollowTheDistancesOfBothImages) {
    expectTheReferences(
        [&](const float* canvas, std::int64_t cols, std::uint8_t* weights, const Place& place) {
            const Floats frame = someDistances(skewedSize(cols), random);
            kernels().weightsByDistances(canvas, placed(frame, place)->data(), cols, weights);
            return [frame](std::int64_t r, std::int64_t c) { return frame[skewedAt(r, c)]; };
        });
}

TEST_P(SeamWeights, WhereTheFrameHoldsNothingAreTheCanvass) {
    expectTheReferences([&](const float* canvas, std::int64_t cols, std::uint8_t* weights, const Place&) {
        kernels().weightsOfCanvas(canvas, cols, weights);
        return [](std::int64_t, std::int64_t) { return 0.0F; };
    });
}

TEST_P(SeamWeights, OfAFullFrameFollowItsEdge) {
    expectTheReferences([&](const float* canvas, std::int64_t cols, std::uint8_t* weights,
                            const Place& place) {
        const Floats ofRows = someDistances(seamLanes, random);
        const Floats ofColumns = someDistances(cols, random);  // from the last column to the first
        Floats padded(cols + 2 * seamPadBefore, nothing);
        std::copy(ofColumns.begin(), ofColumns.end(), padded.begin() + seamPadBefore);
        kernels().weightsByLimits(canvas, placed(ofRows, place)->data(),
                                  placed(padded, place)->data() + seamPadBefore, cols, weights);
        return [=](std::int64_t r, std::int64_t c) { return std::min(ofRows[r], ofColumns[cols - 1 - c]); };
    });
}

BRANTEL_AT_EVERY_LEVEL(SeamLoops);
BRANTEL_AT_EVERY_LEVEL(SeamPasses);
BRANTEL_AT_EVERY_LEVEL(SeamWeights);

}  // namespace
}  // namespace brantel::test
