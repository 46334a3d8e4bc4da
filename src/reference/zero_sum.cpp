#include "reference/zero_sum.h"

#include <vector>

#include "compose/bands.h"

namespace brantel::reference {

namespace {

constexpr std::int32_t border = 4;

using Image = std::vector<std::uint8_t>;

Image everySecond(const std::uint8_t* grey, std::int32_t rows, std::int32_t cols) {
    Image half;
    half.reserve(static_cast<std::size_t>(rows / 2) * static_cast<std::size_t>(cols / 2));
    for (std::int64_t r = 0; r < rows / 2; ++r)
        for (std::int64_t c = 0; c < cols / 2; ++c) half.push_back(grey[2 * r * cols + 2 * c]);
    return half;
}

/// The image (rows x cols) filtered along its rows.
Image filteredRows(const Log& log, const Image& image, std::int32_t rows, std::int32_t cols) {
    const std::int32_t paddedCols = cols + 2 * border;
    Image padded(static_cast<std::size_t>(rows) * static_cast<std::size_t>(paddedCols));
    Image filtered(padded.size());
    Image cropped(image.size());
    padColumnsMirror(log, image.data(), rows, cols, border, padded.data());
    filterRowZeroSum9(log, padded.data(), rows, paddedCols, 0, filtered.data());
    cropColumns(log, filtered.data(), rows, paddedCols, border, cropped.data());
    return cropped;
}

Image transposed(const Image& image, std::int32_t rows, std::int32_t cols) {
    Image turned(image.size());
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t c = 0; c < cols; ++c)
            turned[static_cast<std::size_t>(c * rows + r)] = image[static_cast<std::size_t>(r * cols + c)];
    return turned;
}

/// First and last row, the first 10 columns and the last 11.
bool isEdge(std::int32_t r, std::int32_t c, std::int32_t rows, std::int32_t cols) {
    return r == 0 || r == rows - 1 || c < 10 || c >= cols - 11;
}

}  // namespace

std::vector<std::uint8_t> zeroSumImage(const Log& log, const std::uint8_t* grey, std::int32_t rows,
                                       std::int32_t cols) {
    const std::int32_t halfRows = rows / 2;
    const std::int32_t halfCols = cols / 2;
    if (halfRows <= border || halfCols <= border) return {};
    const Image alongRows = filteredRows(log, everySecond(grey, rows, cols), halfRows, halfCols);
    const Image turned = filteredRows(log, transposed(alongRows, halfRows, halfCols), halfCols, halfRows);
    Image both = transposed(turned, halfCols, halfRows);
    for (std::int32_t r = 0; r < halfRows; ++r)
        for (std::int32_t c = 0; c < halfCols; ++c)
            if (isEdge(r, c, halfRows, halfCols))
                both[static_cast<std::size_t>(std::int64_t{r} * halfCols + c)] = 0;
    return both;
}

}  // namespace brantel::reference
