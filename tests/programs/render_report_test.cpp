// Reports as brantel-stitch writes them, cut off, and mangled.
#include <brantel/session.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "render/report_reader.h"
#include "stitch/report.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

using brantel::test::ScratchDirectory;
using Json = nlohmann::json;

ScanReport readText(const std::string& text) {
    std::istringstream lines(text);
    return readScanReport(lines, "scan.jsonl");
}

std::string problemOf(const std::string& text) {
    try {
        readText(text);
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

FrameReport frameReport(std::size_t number) {
    FrameReport frame;
    frame.number = number;
    frame.name = "scan/f" + std::to_string(number) + ".png";
    frame.origin = {
        "/data/f" + std::to_string(number) + ".png", 1, 1234, 1700000000123456789, Range{300, 4095.5}, ""};
    frame.placed = true;
    frame.map = 1;
    frame.position = {100 * static_cast<std::int32_t>(number - 1), -7};
    frame.foundBy = BRANTEL_BY_CORNERS;
    frame.stage = cv::Point2d(97.25 * static_cast<double>(number), -6.5);
    return frame;
}

std::string beginning() {
    RunSummary run;
    run.channels = Channels::grey;
    run.pixelSize = 0.65;
    return runLine(run);
}

std::string ending() {
    return summaryLine(Tally(), RunSummary());
}

/// A report of frames 1 and 2 in which one field of frame 2 is something else.
std::string withField(const std::string& field, const Json& value) {
    Json entry = Json::parse(frameLine(frameReport(2)));
    entry[field] = value;
    return beginning() + frameLine(frameReport(1)) + entry.dump() + "\n" + ending();
}

TEST(ReadScanReport, GivesBackWhatTheRunHasTold) {
    FrameReport second = frameReport(2);
    second.joins = 1;
    second.offset = Shift(100, 0);
    const ScanReport report =
        readText(beginning() + frameLine(frameReport(1)) + frameLine(second) + ending());
    EXPECT_TRUE(report.complete);
    EXPECT_EQ(report.channels, Channels::grey);
    EXPECT_EQ(report.pixelSize, 0.65);
    ASSERT_TRUE(report.range);
    EXPECT_EQ(report.range->low, 300);
    EXPECT_EQ(report.range->high, 4095.5);
    ASSERT_EQ(report.frames.size(), 2U);
    const ReportedFrame& frame = report.frames[1];
    EXPECT_EQ(frame.name, "scan/f2.png");
    EXPECT_EQ(frame.state, FrameState::placed);
    EXPECT_EQ(frame.map, 1);
    EXPECT_EQ(frame.position, cv::Point(100, -7));
    EXPECT_EQ(frame.joins, 1U);
    EXPECT_EQ(frame.offset, cv::Point(100, 0));
    EXPECT_EQ(frame.stage, cv::Point2d(194.5, -6.5));
    EXPECT_EQ(frame.path, "/data/f2.png");
    EXPECT_EQ(frame.page, 1U);
    EXPECT_EQ(frame.bytes, 1234);
    EXPECT_EQ(frame.modified, "2023-11-14T22:13:20.123456789Z");
}

TEST(ReadScanReport, AFramesLatestLineHolds) {
    FrameReport waiting = frameReport(2);
    waiting.placed = false;
    waiting.waiting = true;
    waiting.map = 0;
    const std::string before = beginning() + frameLine(frameReport(1)) + frameLine(waiting);
    EXPECT_EQ(readText(before + ending()).frames[1].state, FrameState::waiting);
    const ScanReport report = readText(before + frameLine(frameReport(2)) + ending());
    ASSERT_EQ(report.frames.size(), 2U);
    EXPECT_EQ(report.frames[1].state, FrameState::placed);
}

TEST(ReadScanReport, KnowsTheFileThatAFrameWasKeptIn) {
    FrameReport frame = frameReport(1);
    frame.origin = {"/data/film.mp4",   7, 99999, 5, std::nullopt, "/kept/frame_000007.png", 4321,
                    1700000000000000000};
    const ReportedFrame read = readText(beginning() + frameLine(frame) + ending()).frames.at(0);
    EXPECT_EQ(read.kept, "/kept/frame_000007.png");
    EXPECT_EQ(read.bytes, 4321);
    EXPECT_EQ(read.modified, "2023-11-14T22:13:20.000000000Z");
}

TEST(ReadScanReport, ReadsAsFarAsItGoes) {
    const std::string whole = beginning() + frameLine(frameReport(1)) + frameLine(frameReport(2)) + ending();
    const std::size_t first = beginning().size() + frameLine(frameReport(1)).size();
    const std::size_t second = first + frameLine(frameReport(2)).size();
    for (std::size_t length = beginning().size(); length + 1 < whole.size(); ++length) {
        const ScanReport report = readText(whole.substr(0, length));
        EXPECT_FALSE(report.complete) << length;
        // A line counts without its end, too.
        EXPECT_EQ(report.frames.size(), (length + 1 >= first ? 1U : 0U) + (length + 1 >= second ? 1U : 0U))
            << length;
    }
    EXPECT_TRUE(readText(whole.substr(0, whole.size() - 1)).complete)
        << "only the last line's end is missing";
    EXPECT_FALSE(readText(whole.substr(0, second) + std::string(500, '\0')).complete)
        << "as a power cut leaves it";
}

TEST(ReadScanReport, OfOneThatBreaksOffAJoinWithALaterFrameIsForgotten) {
    FrameReport frame = frameReport(1);
    frame.joins = 2;
    EXPECT_EQ(readText(beginning() + frameLine(frame)).frames.at(0).joins, 0U);
    EXPECT_EQ(problemOf(beginning() + frameLine(frame) + ending()),
              "scan.jsonl, line 2: frame 1 joins a frame that is not there");
    EXPECT_EQ(
        readText(beginning() + frameLine(frame) + frameLine(frameReport(2)) + ending()).frames.at(0).joins,
        2U);
}

TEST(ReadScanReport, TakesAnyNumberOfInputs) {
    RunSummary run;
    run.inputs.assign(50000, "a/rather/long/folder/of/frames/frame_0000001.png");
    EXPECT_EQ(readText(runLine(run) + frameLine(frameReport(1)) + ending()).frames.size(), 1U);
}

TEST(ReadScanReport, KnowsWhatIsNoReport) {
    for (const char* text : {"{\"frame\":1}\n", "\x89PNG\r\n\x1a\n", "file,x,y\na.png,1,2\n", "[]\n",
                             "{\"run\":1}\n", "{\"run\":{\"program\":\"other\"}}\n"})
        EXPECT_EQ(problemOf(text), "scan.jsonl is no report of brantel-stitch, which writes one by --report")
            << text;
    EXPECT_EQ(problemOf(""),
              "scan.jsonl is empty, or cannot be read; it should be a report of brantel-stitch");
    EXPECT_NE(problemOf(beginning() + std::string((std::size_t{1} << 26) + 1, ' ')).find("too long"),
              std::string::npos);
}

TEST(ReadScanReport, NamesTheLineThatIsDamaged) {
    const std::string first = beginning() + frameLine(frameReport(1));
    EXPECT_EQ(problemOf(first + "{\"frame\":2,\"fi\n" + frameLine(frameReport(2)) + ending()),
              "scan.jsonl, line 3: is damaged: it is no JSON object");
    EXPECT_EQ(problemOf(first + "17\n" + ending()), "scan.jsonl, line 3: is damaged: it is no JSON object");
    EXPECT_EQ(problemOf(first + ending() + frameLine(frameReport(2))),
              "scan.jsonl, line 4: the report goes on behind its summary");
    EXPECT_EQ(problemOf(first + beginning()),
              "scan.jsonl, line 3: a second run begins; give every run a report of its own");
    EXPECT_EQ(problemOf(first + frameLine(frameReport(3)) + ending()),
              "scan.jsonl, line 3: frame 3 follows frame 1; lines are missing");
    FrameReport other = frameReport(1);
    other.origin.path = "/data/other.png";
    EXPECT_EQ(problemOf(first + frameLine(other)), "scan.jsonl, line 3: frame 1 was another file in line 2");
    FrameReport alone = frameReport(2);
    alone.joins = 2;
    EXPECT_EQ(problemOf(first + frameLine(alone)), "scan.jsonl, line 3: frame 2 joins itself");
}

struct WrongField {
    const char* field;
    Json value;
    const char* says;
};

TEST(ReadScanReport, NamesTheFieldThatIsWrong) {
    const WrongField wrong[] = {
        {"frame", "two", "frame must be a whole number from 1 to 100000000"},
        {"frame", 2.5, "frame must be a whole number"},
        {"frame", -2, "frame must be a whole number"},
        {"frame", UINT64_MAX, "frame must be a whole number"},
        {"frame", nullptr, "the frame has no number"},
        {"file", nullptr, "file is missing"},
        {"file", 5, "file must be a text"},
        {"state", "lost", "state must be placed, skipped, waiting or refused"},
        {"map", 0, "map must be a whole number from 1 to"},
        {"map", nullptr, "map and position are there together or not at all"},
        {"position", nullptr, "map and position are there together or not at all"},
        {"position", 5, "position must be an object with x and y"},
        {"position", Json({{"x", 1}}), "position: x and y must both be there"},
        {"position", Json({{"x", 1}, {"y", 0.5}}), "position: y must be a whole number"},
        {"position", Json({{"x", 1}, {"y", (1 << 30) + 1}}), "position: y must be a whole number"},
        {"stage", Json({{"x", 1e300}, {"y", 0.5}}), "stage: x must be a number from"},
        {"stage", Json({{"x", "1"}, {"y", 0.5}}), "stage: x must be a number from"},
        {"joins", 0, "joins must be a whole number from 1 to"},
        {"joins", 3, "frame 2 joins a frame that is not there"},
        {"offset", Json::array({1, 2}), "offset must be an object with x and y"},
        {"path", Json::array(), "path must be a text"},
        {"path", std::string("/data\0/x.png", 12), "path holds a zero"},
        {"page", 0, "page must be a whole number from 1 to"},
        {"bytes", -5, "bytes must be a whole number from 0 to"},
        {"modified", 5, "modified must be a text"},
    };
    for (const WrongField& one : wrong) {
        const std::string problem = problemOf(withField(one.field, one.value));
        EXPECT_EQ(problem.find("scan.jsonl, line 3: "), 0U) << problem;
        EXPECT_NE(problem.find(one.says), std::string::npos) << one.field << ": " << problem;
    }
}

TEST(ReadScanReport, TakesNoRangeThatIsNone) {
    for (const Json& range : {Json::array({5, 5}), Json::array({1}), Json::array({1, 2, 3}), Json("0,1"),
                              Json::array({-1.7e308, 1.7e308}), Json::array({"0", "1"})}) {
        Json entry = Json::parse(frameLine(frameReport(1)));
        entry["range"] = range;
        EXPECT_NE(problemOf(beginning() + entry.dump() + "\n").find("line 2: range must be two numbers"),
                  std::string::npos)
            << range;
    }
}

TEST(ReadScanReport, TakesNumbersThatAreNoneForDamage) {
    const std::string line = frameLine(frameReport(1));
    const std::size_t at = line.find("97.25");
    for (const char* number : {"NaN", "1e999", "Infinity", "-", "0x10"}) {
        std::string mangled = line;
        mangled.replace(at, 5, number);
        EXPECT_NE(problemOf(beginning() + mangled + ending()), "") << number;
    }
}

/// Whatever the bytes, the reader gives a report or says what is wrong.
TEST(ReadScanReport, StandsAnyChange) {
    const std::string whole = beginning() + frameLine(frameReport(1)) + frameLine(frameReport(2)) + ending();
    std::mt19937 random(7);
    std::size_t refused = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string mangled = whole;
        for (int k = 0; k < 1 + round % 3; ++k) {
            const std::size_t at = random() % mangled.size();
            const char instead = "\"{}[]:,0-9.e\n\0\xFFxn"[random() % 18];
            if (random() % 3 == 0)
                mangled.erase(at, 1 + random() % 20);
            else
                mangled[at] = instead;
        }
        const std::string problem = problemOf(mangled);
        refused += problem.empty() ? 0 : 1;
        if (!problem.empty()) {
            EXPECT_EQ(problem.find("scan.jsonl"), 0U) << problem;
        }
    }
    EXPECT_GT(refused, 1000U);
    EXPECT_NE(problemOf(beginning() + std::string(200000, '[') + "\n{}\n"), "") << "deep nesting";
}

TEST(ReadScanReport, SaysWhyAFileIsNotRead) {
    const ScratchDirectory directory;
    const auto problem = [](const char* name) {
        try {
            readScanReport(std::filesystem::path(name));
        } catch (const InputError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(problem("missing.jsonl"), "cannot open the report missing.jsonl: No such file or directory");
    EXPECT_EQ(problem("."), ". is a folder; name the report of brantel-stitch");
    directory.write("r.jsonl", beginning() + frameLine(frameReport(1)));
    EXPECT_EQ(readScanReport(std::filesystem::path("r.jsonl")).frames.size(), 1U);
}

}  // namespace
}  // namespace brantel::programs
