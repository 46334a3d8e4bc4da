#include "render/report_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "render/report_entry.h"
#include "system/files.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

constexpr std::size_t longestLine = std::size_t{1} << 26;  // the first one names all inputs
constexpr std::int64_t mostFrames = 100000000;
constexpr std::int64_t largest = std::int64_t{1} << 62;  // of what counts bytes

FrameState stateIn(const ReportEntry& entry) {
    const std::string state = entry.text("state").value_or("");
    if (state == "placed") return FrameState::placed;
    if (state == "skipped") return FrameState::skipped;
    if (state == "waiting") return FrameState::waiting;
    if (state == "refused") return FrameState::refused;
    entry.fail("state must be placed, skipped, waiting or refused");
}

void readOrigin(const ReportEntry& entry, ReportedFrame& frame) {
    frame.path = entry.text("path").value_or("");
    frame.kept = entry.text("kept").value_or("");
    frame.page = static_cast<std::size_t>(entry.whole("page", 1, INT32_MAX).value_or(1));
    const bool kept = !frame.kept.empty();
    frame.bytes = entry.whole(kept ? "kept_bytes" : "bytes", 0, largest).value_or(-1);
    frame.modified = entry.text(kept ? "kept_modified" : "modified").value_or("");
}

ReportedFrame frameIn(const ReportEntry& entry) {
    ReportedFrame frame;
    const auto name = entry.text("file");
    if (!name) entry.fail("file is missing");
    frame.name = *name;
    frame.state = stateIn(entry);
    frame.map = static_cast<std::int32_t>(entry.whole("map", 1, mostFrames).value_or(0));
    const auto position = entry.pixels("position");
    if ((frame.map > 0) != position.has_value())
        entry.fail("map and position are there together or not at all");
    if (position) frame.position = *position;
    if (frame.state == FrameState::placed && frame.map == 0)
        entry.fail("the frame is placed, but has no position");
    frame.joins = static_cast<std::size_t>(entry.whole("joins", 1, mostFrames).value_or(0));
    frame.offset = entry.pixels("offset");
    frame.stage = entry.place("stage");
    readOrigin(entry, frame);
    return frame;
}

Channels channelsIn(const ReportEntry& run) {
    const std::string channels = run.text("channels").value_or("as stored");
    if (channels == "as stored") return Channels::asStored;
    if (channels == "grey") return Channels::grey;
    if (channels == "colour") return Channels::colour;
    run.fail("channels must be as stored, grey or colour");
}

class Reading {
  public:
    explicit Reading(const std::string& name) : name_(name) {}

    void takeLine(const char* from, const char* to);
    ScanReport finish();

  private:
    std::string place(std::size_t line) const { return name_ + ", line " + std::to_string(line); }
    [[noreturn]] void fail(std::size_t line, const std::string& what) const {
        throw InputError(place(line) + ": " + what);
    }
    void takeRun(const Json& entry);
    void takeFrame(const Json& entry);
    void checkJoins();

    const std::string& name_;
    ScanReport report_;
    std::vector<std::size_t> lines_;  // where the frames' latest lines are
    std::size_t line_ = 0;
    std::size_t broken_ = 0;  // a line that is no object: nothing may follow it
    bool begun_ = false;
};

void Reading::takeLine(const char* from, const char* to) {
    ++line_;
    if (std::all_of(from, to, [](char c) { return c == ' ' || c == '\t' || c == '\r'; })) return;
    if (broken_ > 0) fail(broken_, "is damaged: it is no JSON object");
    if (report_.complete) fail(line_, "the report goes on behind its summary");
    const Json entry = Json::parse(from, to, nullptr, false);
    if (!begun_) {
        takeRun(entry);
    } else if (!entry.is_object()) {
        broken_ = line_;
    } else if (entry.contains("frame")) {
        takeFrame(entry);
    } else if (entry.contains("summary")) {
        report_.complete = true;
    } else if (entry.contains("run")) {
        fail(line_, "a second run begins; give every run a report of its own");
    }
}

void Reading::takeRun(const Json& entry) {
    const auto run = entry.is_object() ? entry.find("run") : entry.end();
    if (run == entry.end() || !run->is_object() || run->value("program", Json()) != "brantel-stitch")
        throw InputError(name_ + " is no report of brantel-stitch, which writes one by --report");
    const ReportEntry checked(*run, place(line_));
    report_.channels = channelsIn(checked);
    report_.pixelSize = checked.number("pixel_size", 1e-6, 1e6).value_or(0);
    begun_ = true;
}

/// A frame is told again when what was told has changed; its file stays.
void Reading::takeFrame(const Json& entry) {
    const ReportEntry checked(entry, place(line_));
    const auto number = checked.whole("frame", 1, mostFrames);
    if (!number) checked.fail("the frame has no number");
    const auto index = static_cast<std::size_t>(*number) - 1;
    const std::size_t known = report_.frames.size();
    if (index > known)
        checked.fail("frame " + std::to_string(index + 1) + " follows frame " + std::to_string(known) +
                     "; lines are missing");
    ReportedFrame frame = frameIn(checked);
    if (!report_.range) report_.range = checked.range("range");
    if (index == known) {
        report_.frames.push_back(std::move(frame));
        lines_.push_back(line_);
        return;
    }
    ReportedFrame& before = report_.frames[index];
    if (frame.path != before.path || frame.page != before.page || frame.kept != before.kept)
        checked.fail("frame " + std::to_string(index + 1) + " was another file in line " +
                     std::to_string(lines_[index]));
    before = std::move(frame);
    lines_[index] = line_;
}

/// A frame may join a later one, which a report that breaks off does not tell any more.
void Reading::checkJoins() {
    for (std::size_t index = 0; index < report_.frames.size(); ++index) {
        ReportedFrame& frame = report_.frames[index];
        const bool unknown = frame.joins > report_.frames.size();
        if (frame.joins == index + 1 || (unknown && report_.complete))
            fail(lines_[index], "frame " + std::to_string(index + 1) + " joins " +
                                    (unknown ? "a frame that is not there" : "itself"));
        if (unknown) frame.joins = 0;
    }
}

ScanReport Reading::finish() {
    if (!begun_)
        throw InputError(name_ + " is empty, or cannot be read; it should be a report of brantel-stitch");
    checkJoins();
    return std::move(report_);
}

/// Without its end, and no longer than a line may be and a byte; false at the end of the file.
bool nextLine(std::streambuf& file, std::string& line) {
    constexpr int end = std::char_traits<char>::eof();
    line.clear();
    for (int byte = file.sbumpc(); byte != end; byte = file.sbumpc()) {
        if (byte == '\n') return true;
        line += static_cast<char>(byte);
        if (line.size() > longestLine) return true;
    }
    return !line.empty();
}

}  // namespace

ScanReport readScanReport(std::istream& lines, const std::string& name) {
    Reading reading(name);
    std::string line;
    while (nextLine(*lines.rdbuf(), line)) {
        if (line.size() > longestLine)
            throw InputError(name + " has a line that is too long for a report of brantel-stitch");
        reading.takeLine(line.data(), line.data() + line.size());
    }
    return reading.finish();
}

ScanReport readScanReport(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error))
        throw InputError(path.u8string() + " is a folder; name the report of brantel-stitch");
    std::ifstream file(path, std::ios::binary);
    if (!file) throw InputError("cannot open the report " + path.u8string() + ": " + std::strerror(errno));
    try {
        return readScanReport(file, path.u8string());
    } catch (const std::ios_base::failure&) {
        throw InputError("cannot read the report " + path.u8string() + " to its end");
    }
}

}  // namespace brantel::programs
