#include "stitch/report.h"

#include <brantel/session.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "stitch/table.h"

namespace brantel::programs {
namespace {

using Json = nlohmann::json;

FrameReport placedFrame(const std::string& name, Shift offset) {
    FrameReport frame;
    frame.number = 7;
    frame.name = name;
    frame.placed = true;
    frame.map = 1;
    frame.position = {12, -34};
    frame.foundBy = BRANTEL_BY_CORNERS;
    frame.confidence = 0.8125;
    frame.matches = 44;
    frame.joins = 5;
    frame.offset = offset;
    frame.attempts = 1;
    frame.milliseconds = 5;
    return frame;
}

Json lineOf(const FrameReport& frame) {
    const std::string line = frameLine(frame);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    return Json::parse(line);
}

TEST(FrameLine, HoldsWhatWasMeasured) {
    const Json entry = lineOf(placedFrame("a.png", {30, -2}));
    EXPECT_EQ(entry["frame"], 7);
    EXPECT_EQ(entry["file"], "a.png");
    EXPECT_EQ(entry["offset"]["y"], -2);
    EXPECT_EQ(entry["matches"], 44);
    EXPECT_EQ(entry["position"]["y"], -34);
    EXPECT_TRUE(entry["reason"].is_null());
    EXPECT_EQ(entry["state"], "placed");
    EXPECT_EQ(entry["mosaic"], 1);
    EXPECT_EQ(entry["map"], 1);
    EXPECT_EQ(entry["found_by"], "corners");
    EXPECT_EQ(entry["confidence"], 0.8125);
    EXPECT_EQ(entry["joins"], 5);
    EXPECT_EQ(entry["contradicts_expected"], false);
}

TEST(FrameLine, NamesEveryWayOfFindingAPlace) {
    FrameReport frame = placedFrame("a.png", {30, -2});
    const char* const names[] = {"first", "corners", "correlation", "position"};
    for (std::int32_t way = BRANTEL_BY_FIRST; way <= BRANTEL_BY_POSITION; ++way) {
        frame.foundBy = way;
        EXPECT_EQ(lineOf(frame)["found_by"], names[way - BRANTEL_BY_FIRST]);
    }
}

TEST(FrameLine, TellsWhereASkippedFrameLies) {
    FrameReport frame = placedFrame("a.png", {3, -2});
    frame.placed = false;
    frame.reason = Reason::shiftTooSmall;
    const Json entry = lineOf(frame);
    EXPECT_EQ(entry["state"], "skipped");
    EXPECT_EQ(entry["placed"], false);
    EXPECT_TRUE(entry["mosaic"].is_null());
    EXPECT_EQ(entry["map"], 1);
    EXPECT_EQ(entry["position"]["x"], 12);
}

TEST(FrameLine, TellsThatAFrameWaits) {
    FrameReport frame;
    frame.number = 3;
    frame.waiting = true;
    frame.reason = Reason::nothingJoins;
    const Json entry = lineOf(frame);
    EXPECT_EQ(entry["state"], "waiting");
    EXPECT_EQ(entry["placed"], false);
    EXPECT_EQ(entry["reason"], "nothing joins it");
    for (const char* field :
         {"mosaic", "map", "position", "found_by", "confidence", "joins", "offset", "matches"})
        EXPECT_TRUE(entry[field].is_null()) << field;
}

TEST(FrameLine, HoldsTheReasonAndWhatIsBehindIt) {
    FrameReport frame;
    frame.name = "refused.png";
    frame.reason = Reason::unreadable;
    frame.detail = "the file is empty";
    const Json entry = lineOf(frame);
    EXPECT_EQ(entry["reason"], "unreadable");
    EXPECT_EQ(entry["detail"], "the file is empty");
    EXPECT_EQ(entry["state"], "refused");
    EXPECT_TRUE(entry["offset"].is_null());
    EXPECT_TRUE(entry["position"].is_null());
}

TEST(FrameLine, TellsHowToReadTheFrameAgain) {
    FrameReport frame = placedFrame("s.tif#3", {30, 0});
    frame.origin = {"/data/s.tif", 3, 1234, 1700000000123456789, Range{300, 4095.5}, ""};
    const Json entry = lineOf(frame);
    EXPECT_EQ(entry["path"], "/data/s.tif");
    EXPECT_EQ(entry["page"], 3);
    EXPECT_EQ(entry["bytes"], 1234);
    EXPECT_EQ(entry["modified"], "2023-11-14T22:13:20.123456789Z");
    EXPECT_EQ(entry["range"], Json::array({300.0, 4095.5}));
    EXPECT_FALSE(entry.contains("kept"));
}

TEST(FrameLine, OfWhatIsInNoFileNamesTheKeptFrame) {
    FrameReport frame = placedFrame("input#3", {30, 0});
    frame.origin = {"", 3, -1, 0, std::nullopt, "/kept/frame_000003.png", 4321, 1700000000123456789};
    const Json entry = lineOf(frame);
    EXPECT_TRUE(entry["path"].is_null());
    EXPECT_TRUE(entry["bytes"].is_null());
    EXPECT_TRUE(entry["modified"].is_null());
    EXPECT_TRUE(entry["range"].is_null());
    EXPECT_EQ(entry["kept"], "/kept/frame_000003.png");
    EXPECT_EQ(entry["kept_bytes"], 4321);
    EXPECT_EQ(entry["kept_modified"], "2023-11-14T22:13:20.123456789Z");
}

TEST(FrameLine, HoldsTheStagesPosition) {
    FrameReport frame = placedFrame("a.png", {30, 0});
    EXPECT_TRUE(lineOf(frame)["stage"].is_null());
    frame.stage = cv::Point2d(-30.5, 2);
    EXPECT_EQ(lineOf(frame)["stage"], Json({{"x", -30.5}, {"y", 2.0}}));
}

TEST(FrameLine, StaysValidWithAnyFileName) {
    EXPECT_TRUE(lineOf(placedFrame("\xFF\"\\\n.png", {30, 0})).is_object());
}

TEST(SummaryLine, CountsAndNamesThePictures) {
    Tally tally;
    tally.add(placedFrame("a.png", {30, -2}));
    FrameReport refused;
    refused.reason = Reason::wrongSize;
    tally.add(refused);
    FrameReport skipped;
    skipped.reason = Reason::shiftTooSmall;
    tally.add(skipped);
    RunSummary run;
    run.mosaics.push_back({"m.png", 1, {300, 200}, {-50, 0}, 2, 1});
    const Json summary = Json::parse(summaryLine(tally, run))["summary"];
    EXPECT_EQ(summary["placed"], 1);
    EXPECT_EQ(summary["skipped"], 1);
    EXPECT_EQ(summary["refused"], 1);
    EXPECT_EQ(summary["waiting"], 0);
    EXPECT_EQ(summary["placed_later"], 0);
    EXPECT_EQ(summary["settings"]["search"], true);
    EXPECT_EQ(summary["reasons"], Json({{"wrong size", 1}}));
    EXPECT_EQ(summary["mosaics"][0]["origin"]["x"], -50);
    EXPECT_EQ(summary["mosaics"][0]["first_frame"], 1);
    EXPECT_FALSE(summary.contains("mirrored")) << "nothing was known beforehand";
}

TEST(OtherLines, AreObjectsOfOneName) {
    EXPECT_EQ(Json::parse(rangeLine({1, 2}))["range"], Json::array({1.0, 2.0}));
    EXPECT_EQ(Json::parse(droppedLine(3))["dropped"], 3);
    EXPECT_EQ(Json::parse(pictureLine({"m.png", 2, {3, 4}, {5, 6}, 7, 8}))["picture"]["height"], 4);
    RunSummary run;
    run.inputs = {"scan"};
    EXPECT_EQ(Json::parse(runLine(run))["run"]["inputs"][0], "scan");
    EXPECT_EQ(Json::parse(runLine(run))["run"]["channels"], "as stored");
    EXPECT_TRUE(Json::parse(runLine(run))["run"]["pixel_size"].is_null());
    run.channels = Channels::colour;
    run.pixelSize = 0.65;
    EXPECT_EQ(Json::parse(runLine(run))["run"]["channels"], "colour");
    EXPECT_EQ(Json::parse(runLine(run))["run"]["pixel_size"], 0.65);
}

TEST(Table, NamesReasonsAndMosaics) {
    Tally tally;
    tally.add(placedFrame("a", {30, 0}));
    FrameReport refused;
    refused.reason = Reason::tooFewMatches;
    tally.add(refused);
    RunSummary summary;
    summary.mosaics.push_back({"m.png", 1, {300, 200}, {}, 2, 1});
    const std::string text = table(tally, summary);
    EXPECT_NE(text.find("refused          1  (1 too few matches)"), std::string::npos) << text;
    EXPECT_NE(text.find("m.png  300 x 200 px, 2 frames"), std::string::npos) << text;
    EXPECT_EQ(text.find("skipped"), std::string::npos) << "no row for what has not happened";
}

}  // namespace
}  // namespace brantel::programs
