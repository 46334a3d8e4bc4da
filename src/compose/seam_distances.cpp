#include "compose/seam_distances.h"

#include <cstring>

#include "simd/level.h"

namespace brantel {

namespace {

using simd::farDistance;
using simd::seamLanes;
using simd::seamPadBefore;

constexpr std::uint8_t holdsSomething = 255;

std::int32_t firstOccupied(const std::uint8_t* row, ColumnSpan within) {
    if (within.isEmpty()) return within.last;
    const void* found =
        std::memchr(row + within.first, holdsSomething, static_cast<std::size_t>(within.length()));
    if (found == nullptr) return within.last;
    return static_cast<std::int32_t>(static_cast<const std::uint8_t*>(found) - row);
}

/// One behind the last occupied column of those from first to last - 1, the first of which is occupied.
std::int32_t lastOccupied(const std::uint8_t* row, ColumnSpan within) {
    constexpr std::int32_t stretch = 64;
    std::int32_t last = within.last;
    while (last - within.first > stretch &&
           std::memchr(row + last - stretch, holdsSomething, std::size_t{stretch}) == nullptr)
        last -= stretch;
    while (row[last - 1] == 0) --last;
    return last;
}

}  // namespace

void OccupancyImage::ensure(std::int64_t rows, std::int64_t cols) {
    bytes_.ensure(sizeFor(rows, cols));
    anyEmpty_.resize(static_cast<std::size_t>(rows));
    spans_.resize(static_cast<std::size_t>(rows));
    rows_ = rows;
    cols_ = cols;
}

void OccupancyImage::describeRow(std::int64_t r, ColumnSpan within, bool anyEmpty) {
    ColumnSpan span = within;
    if (anyEmpty) {
        span.first = firstOccupied(row(r), within);
        if (!span.isEmpty()) span.last = lastOccupied(row(r), span);
    }
    spans_[static_cast<std::size_t>(r)] = span;
    anyEmpty_[static_cast<std::size_t>(r)] = anyEmpty ? 1 : 0;
}

std::int64_t SeamDistances::memoryFor(std::int64_t rows, std::int64_t cols) {
    return blockCount(rows) * skewedBlock(cols);
}

void SeamDistances::ensure(std::int64_t rows, std::int64_t cols, float* memory) {
    blockSize_ = skewedBlock(cols);
    distances_ = memory;
    lines_.ensure(4 * OccupancyImage::strideFor(cols));
    skewed_.ensure(blockSize_);
    blocks_.resize(static_cast<std::size_t>(blockCount(rows)));
    farBlock_.ensure(blockSize_);
    std::fill_n(farBlock_.data(), blockSize_, farDistance);
}

float* SeamDistances::line(std::int64_t index) {
    return lines_.data() + index * OccupancyImage::strideFor(cols_) + seamPadBefore;
}

bool SeamDistances::isAllFar(const float* line) const {
    return std::all_of(line, line + cols_, [](float distance) { return distance >= farDistance; });
}

std::int64_t SeamDistances::rowsOf(std::int64_t block) const {
    return std::min(seamLanes, rows_ - 2 - block * seamLanes);
}

void SeamDistances::maskRow(const std::uint8_t* row, float* line) const {
    for (std::int64_t x = 0; x < cols_; ++x) line[x] = row[x];
}

SeamDistances::Block SeamDistances::classify(const OccupancyImage& image, std::int64_t block,
                                             const float* above, bool allColumns) const {
    const auto cols = static_cast<std::int32_t>(cols_);
    const ColumnSpan whole{0, cols};
    ColumnSpan occupied;
    bool anyEmpty = false;
    const std::int64_t first = 1 + block * seamLanes;
    for (std::int64_t r = first; r < first + rowsOf(block); ++r) {
        occupied = united(occupied, image.occupied(r));
        anyEmpty = anyEmpty || image.hasEmpty(r);
    }
    if (occupied.isEmpty()) return {Kind::empty, {}};
    if (!anyEmpty) return {isAllFar(above) ? Kind::allFar : Kind::mixed, whole};
    if (allColumns) return {Kind::mixed, whole};
    // With an empty column on both sides, as the image has beyond its own edge, nothing else matters.
    return {Kind::mixed, {std::max(occupied.first - 1, 0), std::min(occupied.last + 1, cols)}};
}

void SeamDistances::passBlockForward(const OccupancyImage& image, std::int64_t block, const float* above,
                                     float* bottom) {
    const simd::SeamKernels& kernels = simd::seamKernels();
    const ColumnSpan columns = blockAt(block).columns;
    kernels.skewRows(image.row(1 + block * seamLanes) + columns.first, image.stride(), columns.length(),
                     skewed_.data());
    kernels.chamferForward(skewed_.data(), columns.length(), rowsOf(block), above + columns.first,
                           memory(block), bottom + columns.first);
    fillBeside(columns, bottom);
}

/// Gives a block that so far only was known to be all far its distances: those of the forward pass below a row that is
/// all far, too.
void SeamDistances::writeOutAllFar(const OccupancyImage& image, std::int64_t block) {
    blocks_[static_cast<std::size_t>(block)].kind = Kind::mixed;
    std::fill_n(line(2), cols_, farDistance);
    passBlockForward(image, block, line(2), line(3));
}

/// The kernels write a few elements beside their columns.
void SeamDistances::fillBeside(ColumnSpan columns, float* line) const {
    std::fill(line, line + columns.first, 0.0F);
    std::fill(line + columns.last, line + cols_, 0.0F);
}

void SeamDistances::passForward(const OccupancyImage& image, bool allColumns) {
    float* finished = line(0);
    float* next = line(1);
    maskRow(image.row(0), finished);
    for (std::int64_t block = 0; block < blockCount(rows_); ++block) {
        Block& described = blocks_[static_cast<std::size_t>(block)];
        described = classify(image, block, finished, allColumns);
        if (described.kind == Kind::mixed) {
            passBlockForward(image, block, finished, next);
        } else {
            std::fill_n(next, cols_, described.kind == Kind::allFar ? farDistance : 0.0F);
        }
        std::swap(finished, next);
    }
}

void SeamDistances::passBackward(const OccupancyImage& image) {
    float* finished = line(0);
    float* next = line(1);
    maskRow(image.row(rows_ - 1), finished);
    for (std::int64_t block = blockCount(rows_) - 1; block >= 0; --block) {
        Block& described = blocks_[static_cast<std::size_t>(block)];
        if (described.kind == Kind::allFar && !isAllFar(finished)) writeOutAllFar(image, block);
        if (described.kind == Kind::mixed) {
            const ColumnSpan columns = described.columns;
            simd::seamKernels().chamferBackward(columns.length(), rowsOf(block), finished + columns.first,
                                                memory(block), next + columns.first);
            fillBeside(columns, next);
        } else {
            std::fill_n(next, cols_, described.kind == Kind::allFar ? farDistance : 0.0F);
        }
        std::swap(finished, next);
    }
}

void SeamDistances::compute(const OccupancyImage& image, bool allColumns) {
    rows_ = image.rows();
    cols_ = image.cols();
    passForward(image, allColumns);
    passBackward(image);
}

}  // namespace brantel
