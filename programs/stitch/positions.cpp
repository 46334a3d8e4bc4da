#include "stitch/positions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>
#include <sstream>

#include "system/files.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

using Fields = std::vector<std::string>;

Fields fieldsOf(std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    Fields fields;
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
    double pixelsPerUnit;
};

/// Byte order marks are what spreadsheets put in front.
Fields headerOf(std::string line) {
    if (line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
    return fieldsOf(line);
}

Columns findColumns(const Fields& header, const std::string& name, double pixelSize) {
    const auto place = [&](const char* title) {
        return static_cast<std::size_t>(std::find(header.begin(), header.end(), title) - header.begin());
    };
    const std::size_t count = header.size();
    const bool pixels = place("x") < count && place("y") < count;
    const bool micrometres = place("x_um") < count && place("y_um") < count;
    if (pixelSize > 0 && micrometres)
        return {place("x_um"), place("y_um"), place("file"), count, 1 / pixelSize};
    if (pixelSize == 0 && pixels) return {place("x"), place("y"), place("file"), count, 1};
    if (micrometres)
        throw InputError(name +
                         " has positions in micrometres (x_um, y_um); say how large a pixel is, for "
                         "instance --pixel-size 0.65");
    if (pixels)
        throw InputError(name +
                         " has positions in pixels (x, y); leave out --pixel-size, or name the columns x_um "
                         "and y_um if they are micrometres");
    throw InputError(name +
                     ": the first line must name the columns x and y (pixels) or x_um and y_um "
                     "(micrometres), for instance \"file,x,y\"");
}

cv::Point2d position(const Fields& fields, const Columns& columns, const std::string& place) {
    const auto field = [&](std::size_t k) {
        return k < fields.size() ? number(fields[k]) : std::optional<double>();
    };
    const auto x = field(columns.x);
    const auto y = field(columns.y);
    if (x && y) return {*x * columns.pixelsPerUnit, *y * columns.pixelsPerUnit};
    throw InputError(place + ": x and y must be numbers such as 1234 or 1234.5");
}

std::string fileNameOf(const std::string& text) {
    return fs::u8path(text).filename().u8string();
}

/// "stack.tif" for its page "stack.tif#3".
std::string withoutPage(const std::string& name) {
    const std::size_t at = name.rfind('#');
    const bool page = at != std::string::npos && at + 1 < name.size() &&
                      name.find_first_not_of("0123456789", at + 1) == std::string::npos;
    return page ? name.substr(0, at) : name;
}

}  // namespace

Positions Positions::read(const fs::path& path, double pixelSize) {
    const std::vector<std::uint8_t> bytes = readFile(path);
    if (bytes.empty()) throw InputError("cannot read the positions " + path.u8string() + ", or it is empty");
    return parse(std::string(bytes.begin(), bytes.end()), path.u8string(), pixelSize);
}

Positions Positions::parse(const std::string& text, const std::string& name, double pixelSize) {
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    const Columns columns = findColumns(headerOf(line), name, pixelSize);
    Positions positions;
    positions.name_ = name;
    for (std::size_t number = 2; std::getline(lines, line); ++number) {
        const Fields fields = fieldsOf(line);
        if (fields.empty()) continue;
        const cv::Point2d at = position(fields, columns, name + ", line " + std::to_string(number));
        if (columns.file >= columns.count)
            positions.inOrder_.push_back(at);
        else if (columns.file < fields.size())
            positions.byFile_[fileNameOf(fields[columns.file])] = at;
    }
    return positions;
}

std::optional<cv::Point2d> Positions::of(const Frame& frame) const {
    const auto named = byFile_.find(fileNameOf(frame.name));
    if (named != byFile_.end()) return named->second;
    if (byFile_.empty() && frame.index < inOrder_.size()) return inOrder_[frame.index];
    return std::nullopt;
}

void Positions::keepOnly(const std::vector<fs::path>& frames) {
    if (byFile_.empty()) return;
    std::set<std::string> names;
    for (const fs::path& frame : frames) names.insert(frame.filename().u8string());
    std::map<std::string, cv::Point2d> kept;
    for (const auto& [name, at] : byFile_)
        if (names.count(name) + names.count(withoutPage(name)) > 0) kept.emplace(name, at);
    if (kept.empty())
        throw InputError(
            name_ + " names no file that is stitched: it has " + byFile_.begin()->first +
            " and the like, the frames are " + frames.front().filename().u8string() +
            " and so on; correct the names, or leave out the column file if the lines are in the "
            "order of the frames");
    byFile_ = std::move(kept);
}

std::vector<cv::Point2d> Positions::places(std::size_t frames) const {
    std::vector<cv::Point2d> places = inOrder_;
    if (frames > 0 && frames < places.size()) places.resize(frames);
    for (const auto& [name, at] : byFile_) places.push_back(at);
    return places;
}

}  // namespace brantel::programs
