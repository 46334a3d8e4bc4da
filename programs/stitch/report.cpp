#include "stitch/report.h"

#include <brantel/session.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "system/time_text.h"

namespace brantel::programs {

namespace {

// Keeps the order in which the entries are made.
using Json = nlohmann::ordered_json;

template <class Number>
Json point(const cv::Point_<Number>& at) {
    return {{"x", at.x}, {"y", at.y}};
}

Json pair(const Range& range) {
    return Json::array({range.low, range.high});
}

void addOrigin(const Origin& origin, Json& entry) {
    const bool isFile = origin.bytes >= 0;
    entry["path"] = origin.path.empty() ? Json() : Json(origin.path);
    entry["page"] = origin.page;
    entry["bytes"] = isFile ? Json(origin.bytes) : Json();
    entry["modified"] = isFile ? Json(timeText(origin.modified)) : Json();
    entry["range"] = origin.range ? pair(*origin.range) : Json();
    if (origin.kept.empty()) return;
    entry["kept"] = origin.kept;
    entry["kept_bytes"] = origin.keptBytes;
    entry["kept_modified"] = timeText(origin.keptModified);
}

const char* stateOf(const FrameReport& frame) {
    if (frame.placed) return "placed";
    if (frame.waiting) return "waiting";
    return isNormalSkip(frame.reason) ? "skipped" : "refused";
}

void addPlace(const FrameReport& frame, Json& entry) {
    const bool known = frame.map > 0;
    entry["mosaic"] = frame.placed ? Json(frame.map) : Json();
    entry["map"] = known ? Json(frame.map) : Json();
    entry["position"] = known ? point(frame.position) : Json();
    entry["starts_mosaic"] = frame.startsMosaic;
    entry["found_by"] = known ? Json(brantel_found_by_text(frame.foundBy)) : Json();
    entry["confidence"] = known ? Json(std::round(frame.confidence * 1e6) / 1e6) : Json();
}

void addMeasures(const FrameReport& frame, Json& entry) {
    entry["joins"] = frame.joins > 0 ? Json(frame.joins) : Json();
    entry["offset"] = frame.offset ? point(*frame.offset) : Json();
    entry["matches"] = frame.joins > 0 ? Json(frame.matches) : Json();
    entry["expected"] = frame.expected ? point(*frame.expected) : Json();
    entry["used_expected"] = frame.usedExpected;
    entry["contradicts_expected"] = frame.contradicts;
    entry["stage"] = frame.stage ? point(*frame.stage) : Json();
    entry["attempts"] = frame.attempts;
    entry["milliseconds"] = std::round(frame.milliseconds * 1000) / 1000;
}

const char* nameOf(Channels channels) {
    return channels == Channels::grey ? "grey" : channels == Channels::colour ? "colour" : "as stored";
}

Json settingsEntry(const SessionSettings& settings) {
    return {{"density", settings.densityLevel},   {"mode", settings.mainMode == 0 ? "brightness" : "motion"},
            {"static", settings.staticFlag != 0}, {"limit", {settings.limitA, settings.limitB}},
            {"search", settings.search},          {"trust_positions", settings.trustPositions}};
}

Json pictureEntry(const SavedMosaic& mosaic) {
    return {
        {"file", mosaic.file},          {"mosaic", mosaic.mosaic},        {"width", mosaic.size.width},
        {"height", mosaic.size.height}, {"origin", point(mosaic.origin)}, {"first_frame", mosaic.firstFrame},
        {"frames", mosaic.frames}};
}

Json mirroredAxes(const Tally& tally) {
    Json axes = Json::array();
    if (tally.agreementX().mirrored()) axes.push_back("x");
    if (tally.agreementY().mirrored()) axes.push_back("y");
    return axes;
}

std::string line(const Json& json) {
    // File names may hold any bytes; what is no text becomes a replacement sign.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string runLine(const RunSummary& summary) {
    const Json entry = {{"program", "brantel-stitch"},
                        {"version", BRANTEL_VERSION},
                        {"inputs", summary.inputs},
                        {"output", summary.output},
                        {"channels", nameOf(summary.channels)},
                        {"pixel_size", summary.pixelSize > 0 ? Json(summary.pixelSize) : Json()},
                        {"settings", settingsEntry(summary.settings)}};
    return line({{"run", entry}});
}

std::string frameLine(const FrameReport& frame) {
    Json entry;
    entry["frame"] = frame.number;
    entry["file"] = frame.name;
    entry["state"] = stateOf(frame);
    entry["placed"] = frame.placed;
    entry["reason"] = frame.placed ? Json() : Json(nameOf(frame.reason));
    if (!frame.detail.empty()) entry["detail"] = frame.detail;
    addPlace(frame, entry);
    addMeasures(frame, entry);
    addOrigin(frame.origin, entry);
    return line(entry);
}

std::string rangeLine(const Range& range) {
    return line({{"range", pair(range)}});
}

std::string droppedLine(std::size_t dropped) {
    return line({{"dropped", dropped}});
}

std::string pictureLine(const SavedMosaic& mosaic) {
    return line({{"picture", pictureEntry(mosaic)}});
}

std::string summaryLine(const Tally& tally, const RunSummary& summary) {
    const OffsetErrors& errors = tally.offsetErrors();
    Json entry;
    entry["frames"] = tally.frames();
    entry["placed"] = tally.placed();
    entry["skipped"] = tally.skipped();
    entry["refused"] = tally.refused();
    entry["waiting"] = tally.waiting();
    entry["placed_later"] = tally.placedLater();
    entry["dropped"] = summary.dropped;
    entry["reasons"] = tally.refusals();
    entry["mosaics"] = Json::array();
    for (const SavedMosaic& mosaic : summary.mosaics) entry["mosaics"].push_back(pictureEntry(mosaic));
    if (summary.positionsKnown) {
        entry["offsets"] = {
            {"compared", errors.compared}, {"exact", errors.exact}, {"largest_error", errors.largest}};
        entry["mirrored"] = mirroredAxes(tally);
    }
    entry["range"] = tally.range() ? pair(*tally.range()) : Json();
    entry["seconds"] = summary.seconds;
    entry["frames_per_second"] = framesPerSecond(tally, summary);
    entry["library_frames_per_second"] = tally.libraryFramesPerSecond();
    entry["interrupted"] = summary.interrupted;
    entry["stopped"] = summary.stopped;
    entry["settings"] = settingsEntry(summary.settings);
    entry["version"] = BRANTEL_VERSION;
    return line({{"summary", entry}});
}

double framesPerSecond(const Tally& tally, const RunSummary& summary) {
    return summary.seconds > 0 ? static_cast<double>(tally.frames()) / summary.seconds : 0;
}

}  // namespace brantel::programs
