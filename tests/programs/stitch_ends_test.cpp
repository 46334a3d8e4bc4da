// Where a mosaic ends: at the area limit, and where the track is lost.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

using brantel::test::ScratchDirectory;

class MosaicAtTheLimit : public ::testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(BothWays, MosaicAtTheLimit, ::testing::Values("", " --no-search"));

TEST_P(MosaicAtTheLimit, IsFollowedByTheNextOne) {
    const ScratchDirectory directory;
    scan("--generate 8000x200 --frame 640x200 --step 400,100 --path row --grey -o scan");
    const std::string way = GetParam();
    ASSERT_EQ(stitch("scan -o m.png --overview o.png --limit 6000,6001 --report r.jsonl" + way).exitCode, 0);
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 19);
    ASSERT_GE(report.summary["mosaics"].size(), 2U);
    EXPECT_EQ(report.summary["mosaics"][1]["file"], "m-2.png");
    for (const auto& mosaic : report.summary["mosaics"]) {
        const cv::Mat picture = readPicture(std::string(mosaic["file"]), Channels::asStored);
        EXPECT_EQ(picture.cols, mosaic["width"]);
        // Neighbouring mosaics share a frame, and nothing else is lost or doubled.
        EXPECT_NEAR(picture.cols, 640 + 400 * (static_cast<int>(mosaic["frames"]) - 1), 8);
    }
    const nlohmann::json& second = report.summary["mosaics"][1];
    const std::size_t shared = second["first_frame"];
    EXPECT_EQ(report.frames[shared - 1]["mosaic"], 1) << "where it was placed first";
    EXPECT_EQ(report.frames[shared]["mosaic"], 2);
    EXPECT_TRUE(std::filesystem::exists("o-2.png"));
}

TEST(AreaLimit, ThatEveryMosaicMeetsAtOnceIsRefused) {
    const ScratchDirectory directory;
    scan("--generate 640x480 --frame 320x240 --step 160,120 -o scan");
    const Outcome outcome = stitch("scan --limit 100,100");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "6000 x 6000"));
}

class LostTrack : public ::testing::Test {
  protected:
    LostTrack() {
        scan("--generate 520x240 --frame 320x240 --step 100,100 --path row -o one --seed 1");
        scan("--generate 520x240 --frame 320x240 --step 100,100 --path row -o two --seed 2");
    }
    ScratchDirectory directory_;
};

TEST_F(LostTrack, SkipLeavesTheFramesOut) {
    EXPECT_EQ(stitch("one two -o m.png --no-search --report r.jsonl").exitCode, 0);
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 3);
    EXPECT_EQ(report.frames[4]["reason"], "too few matches");
    EXPECT_EQ(report.summary["mosaics"].size(), 1U);
}

TEST_F(LostTrack, RestartBeginsAnotherMosaic) {
    for (const char* way : {"", " --no-search"}) {
        EXPECT_EQ(stitch(std::string("one two -o m.png --report r.jsonl --on-lost restart") + way).exitCode,
                  0);
        const Report report = readReport("r.jsonl");
        EXPECT_EQ(report.summary["placed"], 6);
        EXPECT_EQ(report.frames[3]["starts_mosaic"], true);
        EXPECT_EQ(report.frames[5]["mosaic"], 2);
        const cv::Mat second = readPicture("m-2.png", Channels::colour);
        const cv::Mat picture = generatePicture({520, 240}, 2);
        ASSERT_EQ(second.size(), picture.size());
        EXPECT_LE(cv::norm(second, picture, cv::NORM_INF), 2);
    }
}

TEST_F(LostTrack, StopSavesWhatThereIs) {
    for (const char* reason : {"too few matches", "nothing joins it"}) {
        const bool search = reason == std::string("nothing joins it");
        const Outcome outcome = stitch(std::string("one two -o m.png --report r.jsonl --on-lost stop") +
                                       (search ? "" : " --no-search"));
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_TRUE(contains(outcome.err, std::string("two/frame_0001.png: ") + reason)) << outcome.err;
        EXPECT_EQ(readReport("r.jsonl").frames.size(), 4U);
        EXPECT_TRUE(std::filesystem::exists("m.png"));
        std::filesystem::remove("m.png");
    }
}

}  // namespace
}  // namespace brantel::programs::test
