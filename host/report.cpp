#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>

namespace host {

namespace {

// Keeps the order in which the entries are made.
using Json = nlohmann::ordered_json;

Json point(std::int32_t x, std::int32_t y) {
    return {{"x", x}, {"y", y}};
}

/// JSON has no NaN, which the library gives for an overlap without samples.
Json finite(float value) {
    return std::isfinite(value) ? Json(value) : Json();
}

Json brightness(const StitchFlags& record) {
    return {{"previous_mean", finite(record.prevMean)},
            {"current_mean", finite(record.curMean)},
            {"previous_bright_mean", finite(record.prevBrightMean)},
            {"current_bright_mean", finite(record.curBrightMean)}};
}

Json frameEntry(const FrameReport& frame, bool brightnessMeasured) {
    const StitchFlags& record = frame.answer.record;
    Json entry;
    entry["file"] = frame.name;
    entry["placed"] = frame.placed;
    entry["reason"] = frame.placed ? Json() : Json(nameOf(frame.reason));
    entry["starts_mosaic"] = frame.startsMosaic;
    // The library takes the first frame together with the second and answers for that one.
    entry["result"] = frame.attempts > 0 && !frame.startsMosaic ? Json(frame.answer.result) : Json();
    entry["offset"] = frame.measured ? point(record.offset.x, record.offset.y) : Json();
    entry["matches"] = frame.measured ? Json(record.matchCount) : Json();
    entry["mosaic"] = frame.placed ? Json(frame.mosaic) : Json();
    entry["position"] = frame.placed ? point(frame.position.x, frame.position.y) : Json();
    entry["brightness"] = frame.measured && brightnessMeasured ? brightness(record) : Json();
    entry["expected"] = frame.expected ? point(frame.expected->x, frame.expected->y) : Json();
    entry["used_expected"] = frame.usedExpected;
    entry["attempts"] = frame.attempts;
    entry["milliseconds"] = std::round(frame.milliseconds * 1000) / 1000;
    return entry;
}

std::map<std::string, std::size_t> refusals(const std::vector<FrameReport>& reports) {
    std::map<std::string, std::size_t> counts;
    for (const FrameReport& frame : reports)
        if (!frame.placed) ++counts[nameOf(frame.reason)];
    return counts;
}

double framesPerSecond(const std::vector<FrameReport>& reports, const RunSummary& summary) {
    return summary.seconds > 0 ? static_cast<double>(reports.size()) / summary.seconds : 0;
}

/// What the library alone would reach: frames that went through it, by the time spent in it.
double libraryFramesPerSecond(const std::vector<FrameReport>& reports) {
    double milliseconds = 0;
    std::size_t frames = 0;
    for (const FrameReport& frame : reports) {
        if (frame.attempts == 0) continue;
        milliseconds += frame.milliseconds;
        ++frames;
    }
    return milliseconds > 0 ? 1000 * static_cast<double>(frames) / milliseconds : 0;
}

Json settingsEntry(const SessionSettings& settings) {
    return {{"density", settings.densityLevel},
            {"mode", settings.mainMode == 0 ? "brightness" : "motion"},
            {"static", settings.staticFlag != 0},
            {"limit", {settings.limitA, settings.limitB}},
            {"scale", settings.scale}};
}

Json mosaicEntries(const RunSummary& summary) {
    Json entries = Json::array();
    for (const SavedMosaic& mosaic : summary.mosaics)
        entries.push_back({{"file", mosaic.file},
                           {"width", mosaic.size.width},
                           {"height", mosaic.size.height},
                           {"frames", mosaic.frames}});
    return entries;
}

Json summaryEntry(const std::vector<FrameReport>& reports, const RunSummary& summary) {
    const std::size_t placed = placedFrames(reports);
    const OffsetErrors errors = offsetErrors(reports);
    Json entry;
    entry["frames"] = reports.size();
    entry["placed"] = placed;
    entry["refused"] = reports.size() - placed;
    entry["reasons"] = refusals(reports);
    entry["mosaics"] = mosaicEntries(summary);
    if (summary.positionsKnown)
        entry["offsets"] = {
            {"compared", errors.compared}, {"exact", errors.exact}, {"largest_error", errors.largest}};
    entry["seconds"] = summary.seconds;
    entry["frames_per_second"] = framesPerSecond(reports, summary);
    entry["library_frames_per_second"] = libraryFramesPerSecond(reports);
    entry["interrupted"] = summary.interrupted;
    entry["stopped"] = summary.stopped;
    entry["settings"] = settingsEntry(summary.settings);
    entry["version"] = BRANTEL_VERSION;
    return {{"summary", entry}};
}

std::string line(const Json& json) {
    // File names may hold any bytes; what is no text becomes a replacement sign.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string row(const char* title, const std::string& value) {
    char text[512];
    std::snprintf(text, sizeof text, "%-16s %s\n", title, value.c_str());
    return text;
}

std::string oneDecimal(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

}  // namespace

OffsetErrors offsetErrors(const std::vector<FrameReport>& reports) {
    OffsetErrors errors;
    for (const FrameReport& frame : reports) {
        if (!frame.placed || !frame.measured || !frame.expected) continue;
        const std::int32_t x = std::abs(frame.answer.record.offset.x - frame.expected->x);
        const std::int32_t y = std::abs(frame.answer.record.offset.y - frame.expected->y);
        ++errors.compared;
        if (x == 0 && y == 0) ++errors.exact;
        errors.largest = std::max({errors.largest, x, y});
    }
    return errors;
}

std::string reasonsAndCounts(const std::vector<FrameReport>& reports) {
    std::string text;
    for (const auto& [reason, count] : refusals(reports))
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + reason;
    return text;
}

std::size_t placedFrames(const std::vector<FrameReport>& reports) {
    return static_cast<std::size_t>(
        std::count_if(reports.begin(), reports.end(), [](const FrameReport& frame) { return frame.placed; }));
}

std::string jsonLines(const std::vector<FrameReport>& reports, const RunSummary& summary) {
    std::string text;
    for (const FrameReport& frame : reports) text += line(frameEntry(frame, summary.settings.mainMode == 0));
    return text + line(summaryEntry(reports, summary));
}

std::string table(const std::vector<FrameReport>& reports, const RunSummary& summary) {
    const std::size_t placed = placedFrames(reports);
    const OffsetErrors errors = offsetErrors(reports);
    std::string text = row("frames", std::to_string(reports.size()));
    text += row("placed", std::to_string(placed));
    const std::string reasons = reasonsAndCounts(reports);
    text += row("refused",
                std::to_string(reports.size() - placed) + (reasons.empty() ? "" : "  (" + reasons + ")"));
    if (summary.positionsKnown)
        text += row("offsets", std::to_string(errors.exact) + " of " + std::to_string(errors.compared) +
                                   " exactly as expected, largest difference " +
                                   std::to_string(errors.largest) + " px");
    text += row("frames/second", oneDecimal(framesPerSecond(reports, summary)) +
                                     " with reading and writing the files, " +
                                     oneDecimal(libraryFramesPerSecond(reports)) + " in the library");
    for (const SavedMosaic& mosaic : summary.mosaics)
        text += row("mosaic", mosaic.file + "  " + std::to_string(mosaic.size.width) + " x " +
                                  std::to_string(mosaic.size.height) + " px, " +
                                  std::to_string(mosaic.frames) + " frames");
    return text;
}

}  // namespace host
