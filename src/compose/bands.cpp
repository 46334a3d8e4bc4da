#include "compose/bands.h"

#include <algorithm>
#include <cstring>

namespace brantel {

namespace {

template <class T>
bool zeroColumns(const Log& log, T* image, std::int32_t rows, std::int32_t cols, std::int32_t colStart,
                 std::int32_t colEnd) {
    if (image == nullptr) {
        log.streamLine("corresRowAllColZero ptr is null");
        return false;
    }
    if (colStart >= colEnd) return true;
    for (std::int64_t r = 0; r < rows; ++r)
        std::fill(image + r * cols + colStart, image + r * cols + colEnd, T{0});
    return true;
}

template <class T>
bool zeroRows(const Log& log, T* image, std::int32_t cols, std::int32_t rowStart, std::int32_t rowEnd) {
    if (image == nullptr) {
        log.streamLine("corresRowAllColZero ptr is null");
        return false;
    }
    if (rowStart >= rowEnd || cols < 1) return true;
    std::fill(image + std::int64_t{rowStart} * cols, image + std::int64_t{rowEnd} * cols, T{0});
    return true;
}

bool anyNull(const Log& log, const void* source, const void* destination) {
    if (source != nullptr && destination != nullptr) return false;
    log.streamLine("ptr is NULL");
    return true;
}

}  // namespace

bool zeroColumnBand8(const Log& log, std::uint8_t* image, std::int32_t rows, std::int32_t cols,
                     std::int32_t colStart, std::int32_t colEnd) {
    return zeroColumns(log, image, rows, cols, colStart, colEnd);
}

bool zeroColumnBandF(const Log& log, float* image, std::int32_t rows, std::int32_t cols,
                     std::int32_t colStart, std::int32_t colEnd) {
    return zeroColumns(log, image, rows, cols, colStart, colEnd);
}

bool zeroRowBand8(const Log& log, std::uint8_t* image, std::int32_t /*rows*/, std::int32_t cols,
                  std::int32_t rowStart, std::int32_t rowEnd) {
    return zeroRows(log, image, cols, rowStart, rowEnd);
}

bool zeroRowBandF(const Log& log, float* image, std::int32_t /*rows*/, std::int32_t cols,
                  std::int32_t rowStart, std::int32_t rowEnd) {
    return zeroRows(log, image, cols, rowStart, rowEnd);
}

bool clearMaskEdge(const Log& log, float* mask, std::int32_t rows, std::int32_t cols) {
    return zeroColumnBandF(log, mask, rows, cols, 0, 1) &&
           zeroColumnBandF(log, mask, rows, cols, cols - 1, cols) &&
           zeroRowBandF(log, mask, rows, cols, 0, 1) && zeroRowBandF(log, mask, rows, cols, rows - 1, rows);
}

bool padColumnsMirror(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                      std::int32_t border, std::uint8_t* destination) {
    if (anyNull(log, source, destination)) return false;
    const std::int64_t width = std::int64_t{cols} + 2 * std::int64_t{border};
    for (std::int64_t r = 0; r < rows; ++r) {
        const std::uint8_t* from = source + r * cols;
        std::uint8_t* to = destination + r * width;
        for (std::int64_t k = 0; k < border; ++k) {
            to[k] = from[border - k];
            to[cols + border + k] = from[cols - border - 1 + k];
        }
        std::memcpy(to + border, from, static_cast<std::size_t>(std::max(cols, 0)));
    }
    return true;
}

bool filterRowZeroSum9(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                       std::int32_t /*unused*/, std::uint8_t* destination) {
    if (anyNull(log, source, destination)) return false;
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t c = 4; c < std::int64_t{cols} - 4; ++c) {
            const std::uint8_t* p = source + r * cols + c;
            const int sum =
                4 * p[0] + 2 * p[-1] + 2 * p[1] - 2 * p[-3] - 2 * p[3] - p[-4] - p[-2] - p[2] - p[4];
            destination[r * cols + c] =
                static_cast<std::uint8_t>(sum);  // low byte: the same as wrapping each step
        }
    return true;
}

bool cropColumns(const Log& log, const std::uint8_t* source, std::int32_t rows, std::int32_t cols,
                 std::int32_t border, std::uint8_t* destination) {
    if (anyNull(log, source, destination)) return false;
    const std::int64_t width = std::int64_t{cols} - 2 * std::int64_t{border};
    if (width < 1) return true;
    for (std::int64_t r = 0; r < rows; ++r)
        std::memcpy(destination + r * width, source + r * cols + border, static_cast<std::size_t>(width));
    return true;
}

}  // namespace brantel
