#include "stitch/grid.h"

#include <charconv>
#include <sstream>

namespace brantel::programs {

namespace {

constexpr std::int32_t longestSide = 100000;

std::optional<std::int32_t> wholeNumber(const std::string& text) {
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional<std::int32_t>(value) : std::nullopt;
}

bool readSides(const std::string& text, Grid& grid) {
    const std::size_t at = text.find('x');
    if (at == std::string::npos) return false;
    const auto columns = wholeNumber(text.substr(0, at));
    const auto rows = wholeNumber(text.substr(at + 1));
    if (!columns || !rows || *columns < 1 || *rows < 1 || *columns > longestSide || *rows > longestSide)
        return false;
    grid.columns = *columns;
    grid.rows = *rows;
    return true;
}

}  // namespace

std::optional<cv::Point2d> Grid::placeOf(std::size_t index, cv::Size frame) const {
    if (index >= frames()) return std::nullopt;
    const auto row = static_cast<std::int32_t>(index / static_cast<std::size_t>(columns));
    const auto along = static_cast<std::int32_t>(index % static_cast<std::size_t>(columns));
    const std::int32_t column = snake && row % 2 != 0 ? columns - 1 - along : along;
    return cv::Point2d(column * (1 - overlap) * frame.width, row * (1 - overlap) * frame.height);
}

std::optional<Grid> parseGrid(const std::string& text) {
    const std::string overlapIs = "overlap=";
    Grid grid;
    std::istringstream parts(text);
    std::string part;
    if (!std::getline(parts, part, ',') || !readSides(part, grid)) return std::nullopt;
    while (std::getline(parts, part, ',')) {
        if (part == "snake") {
            grid.snake = true;
            continue;
        }
        if (part.rfind(overlapIs, 0) != 0) return std::nullopt;
        const auto percent = wholeNumber(part.substr(overlapIs.size()));
        if (!percent || *percent < 1 || *percent > 90) return std::nullopt;
        grid.overlap = *percent / 100.0;
    }
    return text.back() == ',' ? std::nullopt : std::optional<Grid>(grid);
}

}  // namespace brantel::programs
