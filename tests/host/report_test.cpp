#include "report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

namespace host {
namespace {

using Json = nlohmann::json;

FrameReport placedFrame(const std::string& name, Shift offset) {
    FrameReport frame;
    frame.name = name;
    frame.placed = frame.measured = true;
    frame.mosaic = 1;
    frame.position = {12, 34};
    frame.attempts = 1;
    frame.milliseconds = 5;
    frame.answer = {0, true, Reason::none, StitchFlags{}};
    frame.answer.record.offset = {offset.x, offset.y};
    frame.answer.record.matchCount = 44;
    return frame;
}

FrameReport refusedFrame(Reason reason) {
    FrameReport frame;
    frame.name = "refused.png";
    frame.reason = reason;
    return frame;
}

std::vector<Json> parsed(const std::string& text) {
    std::vector<Json> entries;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) entries.push_back(Json::parse(line));
    return entries;
}

TEST(Report, HasOneObjectPerFrameAndASummary) {
    const auto entries =
        parsed(jsonLines({placedFrame("a.png", {30, -2}), refusedFrame(Reason::wrongSize)}, RunSummary{}));
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0]["file"], "a.png");
    EXPECT_EQ(entries[0]["offset"]["y"], -2);
    EXPECT_EQ(entries[0]["matches"], 44);
    EXPECT_EQ(entries[0]["position"]["x"], 12);
    EXPECT_TRUE(entries[0]["reason"].is_null());
    EXPECT_EQ(entries[1]["reason"], "wrong size");
    EXPECT_TRUE(entries[1]["result"].is_null());
    EXPECT_TRUE(entries[1]["offset"].is_null());
    EXPECT_EQ(entries[2]["summary"]["placed"], 1);
    EXPECT_EQ(entries[2]["summary"]["reasons"]["wrong size"], 1);
}

TEST(Report, WritesMeasuresThatAreNoNumbersAsNull) {
    FrameReport frame = placedFrame("a.png", {30, 0});
    frame.answer.record.prevMean = std::nanf("");
    frame.answer.record.curMean = 17.5F;
    const auto entries = parsed(jsonLines({frame}, RunSummary{}));
    EXPECT_TRUE(entries[0]["brightness"]["previous_mean"].is_null());
    EXPECT_EQ(entries[0]["brightness"]["current_mean"], 17.5);
}

TEST(Report, HasNoBrightnessInMotionMode) {
    RunSummary summary;
    summary.settings.mainMode = 1;
    EXPECT_TRUE(parsed(jsonLines({placedFrame("a.png", {30, 0})}, summary))[0]["brightness"].is_null());
}

TEST(Report, StaysValidWithAnyFileName) {
    EXPECT_EQ(parsed(jsonLines({placedFrame("\xFF\"\\\n.png", {30, 0})}, RunSummary{})).size(), 2U);
}

TEST(OffsetErrors, CompareWithWhatWasExpected) {
    std::vector<FrameReport> reports{placedFrame("a", {30, 0}), placedFrame("b", {30, 0}),
                                     placedFrame("c", {30, 0}), refusedFrame(Reason::motion)};
    reports[0].expected = Shift(30, 0);
    reports[1].expected = Shift(28, -3);
    reports[3].expected = Shift(900, 0);
    const OffsetErrors errors = offsetErrors(reports);
    EXPECT_EQ(errors.compared, 2U);
    EXPECT_EQ(errors.exact, 1U);
    EXPECT_EQ(errors.largest, 3);
}

TEST(Table, NamesReasonsAndMosaics) {
    RunSummary summary;
    summary.mosaics.push_back({"m.png", {300, 200}, 2});
    const std::string text = table({placedFrame("a", {30, 0}), refusedFrame(Reason::tooFewMatches)}, summary);
    EXPECT_NE(text.find("(1 too few matches)"), std::string::npos);
    EXPECT_NE(text.find("m.png  300 x 200 px, 2 frames"), std::string::npos);
}

}  // namespace
}  // namespace host
