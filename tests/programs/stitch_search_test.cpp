// Frames that keep the track: what waits, what joins two pictures, what positions are worth.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

constexpr std::int32_t step = 100;
const cv::Size frameSize{320, 240};

/// A row of nine frames; any of them may be left out or come later.
class Search : public ::testing::Test {
  protected:
    Search() { scan("--generate 1120x240 --frame 320x240 --step 100,100 --path row -o scan"); }

    static std::string nameOf(int number) { return "scan/frame_000" + std::to_string(number) + ".png"; }
    static std::string frames(const std::vector<int>& numbers) {
        std::string names;
        for (const int number : numbers) names += nameOf(number) + " ";
        return names;
    }
    static void makeBlank(int number) {
        writePicture(nameOf(number), cv::Mat(frameSize, CV_8UC3, cv::Scalar(80, 80, 80)));
    }

    Report stitchAll(const std::string& arguments) {
        const Outcome outcome = stitch(arguments + " -o m.png --report r.jsonl");
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        err_ = outcome.err;
        out_ = outcome.out;
        return readReport("r.jsonl");
    }

    /// Everything that the report ever said of a frame, in order.
    static std::vector<nlohmann::json> linesOf(std::size_t number) {
        std::vector<nlohmann::json> lines;
        std::ifstream file("r.jsonl");
        for (std::string line; std::getline(file, line);) {
            nlohmann::json entry = nlohmann::json::parse(line);
            if (entry.contains("frame") && entry["frame"] == number) lines.push_back(std::move(entry));
        }
        return lines;
    }

    ScratchDirectory directory_;
    std::string err_;
    std::string out_;
};

void expectAt(const nlohmann::json& frame, std::int32_t x) {
    EXPECT_EQ(frame["placed"], true) << frame;
    EXPECT_NEAR(frame["position"]["x"], x, 2) << frame;
    EXPECT_NEAR(frame["position"]["y"], 0, 2) << frame;
}

TEST_F(Search, ALaterFrameJoinsTwoMosaics) {
    const std::vector<int> order{1, 2, 3, 4, 8, 9, 5, 6, 7};
    const Report report = stitchAll(frames(order) + "--overview o.png");
    EXPECT_EQ(report.summary["placed"], 9);
    for (std::size_t k = 0; k < order.size(); ++k) {
        expectAt(report.frames[k], step * (order[k] - 1));
        EXPECT_EQ(report.frames[k]["map"], 1) << report.frames[k];
        EXPECT_EQ(report.frames[k]["mosaic"], 1);
        EXPECT_EQ(report.frames[k]["starts_mosaic"], k == 0);
    }
    const std::vector<nlohmann::json> lines = linesOf(6);  // the picture's ninth
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["map"], 2) << "a mosaic of its own with the eighth";
    expectAt(lines[0], step);
    EXPECT_EQ(lines[1]["map"], 1);
    EXPECT_EQ(lines[1]["offset"], lines[0]["offset"]) << "beside the same frame";

    ASSERT_EQ(report.summary["mosaics"].size(), 1U);
    EXPECT_EQ(report.summary["mosaics"][0]["frames"], 9);
    EXPECT_EQ(report.summary["mosaics"][0]["first_frame"], 1);
    EXPECT_EQ(report.summary["mosaics"][0]["origin"]["x"], 0);
    EXPECT_FALSE(fs::exists("m-2.png"));
    EXPECT_FALSE(fs::exists("o-2.png"));
    const cv::Mat mosaic = readPicture("m.png", Channels::colour);
    const cv::Mat picture = generatePicture({1120, 240}, 1);
    ASSERT_EQ(mosaic.size(), picture.size());
    EXPECT_LE(cv::norm(mosaic, picture, cv::NORM_INF), 2)
        << "offsets are exact and blending divides integers";
}

TEST_F(Search, WhatNothingConnectsStaysTwoMosaics) {
    const Report report = stitchAll(frames({1, 2, 3, 8, 9}));
    EXPECT_EQ(report.summary["placed"], 5);
    ASSERT_EQ(report.summary["mosaics"].size(), 2U);
    EXPECT_EQ(report.summary["mosaics"][1]["file"], "m-2.png");
    EXPECT_EQ(report.summary["mosaics"][1]["mosaic"], 2);
    EXPECT_EQ(report.summary["mosaics"][1]["first_frame"], 4);
    EXPECT_EQ(report.frames[4]["mosaic"], 2);
    EXPECT_EQ(report.frames[3]["starts_mosaic"], true);
    EXPECT_EQ(readPicture("m-2.png", Channels::colour).cols, 420);
}

TEST_F(Search, AFrameWaitsUntilAnotherOneJoinsIt) {
    const Report report = stitchAll(frames({1, 2, 6, 4, 3}));
    EXPECT_EQ(report.summary["placed"], 5) << err_;
    const std::vector<nlohmann::json> lines = linesOf(3);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.front()["state"], "waiting");
    EXPECT_EQ(lines.front()["placed"], false);
    EXPECT_EQ(lines.front()["reason"], "nothing joins it");
    EXPECT_TRUE(lines.front()["position"].is_null());
    expectAt(report.frames[2], 5 * step);
    EXPECT_EQ(report.frames[2]["state"], "placed");
    EXPECT_EQ(report.summary["mosaics"].size(), 1U);
    EXPECT_EQ(report.summary["waiting"], 0);
    EXPECT_EQ(report.summary["refused"], 0);
    EXPECT_EQ(report.summary["placed_later"], 1);
    EXPECT_TRUE(contains(out_, "placed           5  (1 waited for others to join them)")) << out_;
    EXPECT_EQ(err_, "") << "what came right in the end needs no advice";
}

TEST_F(Search, AFrameThatNothingJoinsWaitsToTheEnd) {
    scan("--generate 320x240 --frame 320x240 -o other --seed 2");
    const Report report = stitchAll(frames({1, 2}) + "other/frame_0001.png " + frames({3}));
    EXPECT_EQ(report.summary["placed"], 3);
    EXPECT_EQ(report.frames[2]["state"], "waiting");
    EXPECT_EQ(report.summary["waiting"], 1);
    EXPECT_EQ(report.summary["refused"], 1);
    EXPECT_EQ(report.summary["reasons"], nlohmann::json({{"nothing joins it", 1}}));
    EXPECT_TRUE(contains(err_, "1 frame refused for nothing joins it, first other/frame_0001.png: ")) << err_;
    EXPECT_FALSE(contains(err_, "--on-lost")) << err_;
}

TEST_F(Search, FindsTheWayBackToAnEarlierFrame) {
    const std::string path = frames({1, 2, 3, 4, 5, 6, 7, 8, 9, 2});
    const Report report = stitchAll(path);
    EXPECT_EQ(report.summary["refused"], 0);
    EXPECT_EQ(report.frames[9]["state"], "skipped") << "it shows nothing new";
    EXPECT_EQ(report.frames[9]["map"], 1);
    EXPECT_NEAR(report.frames[9]["position"]["x"], step, 2);
    EXPECT_TRUE(report.frames[9]["mosaic"].is_null());
    const Report plain = stitchAll(path + "--no-search");
    EXPECT_EQ(plain.frames[9]["state"], "refused") << "compared with the ninth and no other";
    EXPECT_EQ(plain.frames[9]["reason"], "too few matches");
}

TEST_F(Search, SaysHowEveryPlaceWasFound) {
    const Report report = stitchAll("scan");
    EXPECT_EQ(report.frames[0]["found_by"], "first");
    EXPECT_EQ(report.frames[0]["confidence"], 1.0);
    EXPECT_TRUE(report.frames[0]["joins"].is_null());
    for (std::size_t k = 1; k < 9; ++k) {
        EXPECT_EQ(report.frames[k]["found_by"], "corners");
        EXPECT_GT(report.frames[k]["matches"], 10);
        EXPECT_GT(report.frames[k]["confidence"], 0.5);
        EXPECT_LE(report.frames[k]["confidence"], 1);
        EXPECT_EQ(report.frames[k]["joins"], k);
        EXPECT_EQ(report.frames[k]["offset"]["x"], step);
    }
}

TEST_F(Search, EveryRunGivesTheSame) {
    std::string mosaics[2];
    std::vector<nlohmann::json> reports[2];
    for (int run = 0; run < 2; ++run) {
        reports[run] = stitchAll(frames({1, 2, 9, 4, 3, 5, 8, 7, 6, 1})).frames;
        for (nlohmann::json& frame : reports[run]) frame.erase("milliseconds");
        mosaics[run] = shell("md5sum m.png").out;
    }
    EXPECT_EQ(reports[0], reports[1]);
    EXPECT_EQ(mosaics[0], mosaics[1]);
}

TEST_F(Search, AWrongPositionIsContradictedByThePictures) {
    std::string table = "file,x,y\n";
    for (int k = 1; k <= 9; ++k)
        table += "frame_000" + std::to_string(k) + ".png," + std::to_string(k == 5 ? 170 : step * (k - 1)) +
                 ",0\n";
    directory_.write("stage.csv", table);
    const Report report = stitchAll("scan --positions stage.csv");
    EXPECT_EQ(report.summary["placed"], 9);
    for (std::size_t k = 0; k < 9; ++k) {
        expectAt(report.frames[k], step * static_cast<std::int32_t>(k));
        EXPECT_EQ(report.frames[k]["contradicts_expected"], k == 4 || k == 5) << report.frames[k];
    }
    EXPECT_EQ(report.frames[4]["expected"]["x"], -130);
    EXPECT_TRUE(
        contains(err_,
                 "2 frames placed elsewhere than was expected, first scan/frame_0005.png: by 100,0 instead "
                 "of -130,0 pixels beside frame 4; the pictures were certain"))
        << err_;
}

TEST_F(Search, PositionsPlaceWhatThePicturesDoNotIfTheyAreTrusted) {
    makeBlank(5);
    Report report = stitchAll("scan --positions scan/truth.csv");
    EXPECT_EQ(report.frames[4]["state"], "waiting");
    EXPECT_TRUE(contains(err_, "try --trust-positions")) << err_;
    report = stitchAll("scan --grid 9x1,overlap=69 --trust-positions");
    EXPECT_EQ(report.summary["placed"], 9);
    EXPECT_EQ(report.frames[4]["found_by"], "position");
    EXPECT_EQ(report.frames[4]["used_expected"], true);
    EXPECT_EQ(report.frames[4]["confidence"], 0.0);
    EXPECT_EQ(report.frames[4]["matches"], 0);
    EXPECT_EQ(report.frames[3]["used_expected"], false);
}

TEST_F(Search, AMosaicAtTheAreaLimitLetsNothingWait) {
    scan("--generate 6700x200 --frame 640x200 --step 400,100 --path row --grey -o long");
    scan("--generate 640x200 --frame 640x200 --grey -o other --seed 2");
    fs::rename("other/frame_0001.png", "long/frame_0003b.png");
    const Report report = stitchAll("long --limit 6000,6001");
    ASSERT_GE(report.summary["mosaics"].size(), 2U);
    EXPECT_EQ(report.frames[3]["file"], "long/frame_0003b.png");
    EXPECT_EQ(report.frames[3]["state"], "refused");
    EXPECT_EQ(report.frames[3]["reason"], "its mosaic ended");
    EXPECT_EQ(report.summary["placed"], report.frames.size() - 1);
}

}  // namespace
}  // namespace brantel::programs::test
