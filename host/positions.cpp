#include "positions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> fieldsOf(std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) {
        const std::size_t from = field.find_first_not_of(" \t\"");
        const std::size_t to = field.find_last_not_of(" \t\"");
        fields.push_back(from == std::string::npos ? "" : field.substr(from, to - from + 1));
    }
    return fields;
}

/// Independent of the locale, unlike the stream operators.
std::optional<double> number(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
    return whole ? std::optional<double>(value) : std::nullopt;
}

struct Columns {
    std::size_t x, y, file, count;
};

Columns findColumns(const std::vector<std::string>& header, const std::string& name) {
    const auto place = [&](const char* title) {
        return static_cast<std::size_t>(std::find(header.begin(), header.end(), title) - header.begin());
    };
    const Columns columns{place("x"), place("y"), place("file"), header.size()};
    if (columns.x < columns.count && columns.y < columns.count) return columns;
    throw InputError(name + ": the first line must name the columns x and y, for instance \"file,x,y\"");
}

cv::Point2d position(const std::vector<std::string>& fields, const Columns& columns,
                     const std::string& place) {
    const auto field = [&](std::size_t k) {
        return k < fields.size() ? number(fields[k]) : std::optional<double>();
    };
    const auto x = field(columns.x);
    const auto y = field(columns.y);
    if (x && y) return {*x, *y};
    throw InputError(place + ": x and y must be numbers such as 1234 or 1234.5");
}

std::int32_t rounded(double value) {
    return static_cast<std::int32_t>(std::clamp(std::floor(value + 0.5), -1e9, 1e9));
}

}  // namespace

Positions Positions::read(const fs::path& path) {
    const std::vector<std::uint8_t> bytes = readFile(path);
    if (bytes.empty()) throw InputError("cannot read the positions " + path.u8string() + ", or it is empty");
    return parse(std::string(bytes.begin(), bytes.end()), path.u8string());
}

Positions Positions::parse(const std::string& text, const std::string& name) {
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    const Columns columns = findColumns(fieldsOf(line), name);
    Positions positions;
    for (std::size_t number = 2; std::getline(lines, line); ++number) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields.empty()) continue;
        const cv::Point2d at = position(fields, columns, name + ", line " + std::to_string(number));
        if (columns.file < columns.count) {
            if (columns.file < fields.size())
                positions.byFile_[fs::u8path(fields[columns.file]).filename().u8string()] = at;
        } else {
            positions.inOrder_.push_back(at);
        }
    }
    return positions;
}

std::optional<cv::Point2d> Positions::of(const Frame& frame) const {
    const auto named = byFile_.find(fs::u8path(frame.name).filename().u8string());
    if (named != byFile_.end()) return named->second;
    if (byFile_.empty() && frame.index < inOrder_.size()) return inOrder_[frame.index];
    return std::nullopt;
}

std::optional<Shift> Expectation::between(const Frame& earlier, const Frame& later) const {
    if (step_) {
        const auto steps = static_cast<double>(later.index) - static_cast<double>(earlier.index);
        return Shift(rounded(step_->x * steps), rounded(step_->y * steps));
    }
    if (!positions_) return std::nullopt;
    const auto from = positions_->of(earlier);
    const auto to = positions_->of(later);
    if (!from || !to) return std::nullopt;
    return Shift(rounded(to->x - from->x), rounded(to->y - from->y));
}

std::vector<std::optional<Shift>> Expectation::attempts(const Frame& earlier, const Frame& later) const {
    const std::optional<Shift> expected = between(earlier, later);
    const bool overlapping =
        expected && std::abs(expected->x) < later.image.cols && std::abs(expected->y) < later.image.rows;
    if (!overlapping) return {std::nullopt};
    if (step_) return {expected, std::nullopt};
    return {std::nullopt, expected};
}

}  // namespace host
