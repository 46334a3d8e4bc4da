#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <opencv2/core.hpp>
#include <opencv2/videoio.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

using brantel::test::ScratchDirectory;

constexpr const char* usualScan = " --generate 640x480 --frame 320x240 --step 160,120 -o scan";

/// Where a frame lies on the mosaic against where it lay in the picture, with the first frame as origin.
cv::Point errorOf(const nlohmann::json& frame, const nlohmann::json& first, cv::Point truth) {
    return cv::Point(frame["position"]["x"], frame["position"]["y"]) -
           cv::Point(first["position"]["x"], first["position"]["y"]) - truth;
}

TEST(StitchProgram, PutsASerpentineScanTogetherAgain) {
    const ScratchDirectory directory;
    scan(usualScan);
    const Outcome outcome = stitch("scan -o m.png --report r.jsonl --positions scan/truth.csv");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(contains(outcome.out, "placed           9"));

    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.frames.size(), 9U);
    const cv::Point plan[] = {{0, 0},   {160, 0}, {320, 0},   {320, 120}, {160, 120},
                              {0, 120}, {0, 240}, {160, 240}, {320, 240}};
    for (std::size_t k = 0; k < 9; ++k) {
        const cv::Point error = errorOf(report.frames[k], report.frames[0], plan[k]);
        EXPECT_LE(std::abs(error.x) + std::abs(error.y), 4) << report.frames[k];
    }
    EXPECT_EQ(report.summary["offsets"]["compared"], 8);
    EXPECT_LE(report.summary["offsets"]["largest_error"], 2);
}

TEST(StitchProgram, WritesAMosaicThatEqualsThePictureWhereOffsetsAreExact) {
    const ScratchDirectory directory;
    scan("--generate 700x240 --frame 320x240 --step 190,160 --path row -o scan");
    ASSERT_EQ(stitch("scan -o m.png --report r.jsonl --positions scan/truth.csv").exitCode, 0);
    ASSERT_EQ(readReport("r.jsonl").summary["offsets"]["exact"], 2);
    const cv::Mat picture = generatePicture({700, 240}, 1);
    const cv::Mat mosaic = readPicture("m.png", Channels::colour);
    ASSERT_EQ(mosaic.size(), picture.size());
    EXPECT_LE(cv::norm(mosaic, picture, cv::NORM_INF), 2) << "blending divides integers";
}

TEST(StitchProgram, WritesOverviewAndGreyTiff) {
    const ScratchDirectory directory;
    scan(usualScan);
    ASSERT_EQ(stitch("scan -o m.tif --overview o.jpg --grey --quiet").exitCode, 0);
    EXPECT_EQ(readPicture("m.tif", Channels::asStored).type(), CV_8UC1);
    EXPECT_EQ(readPicture("o.jpg", Channels::asStored).type(), CV_8UC3);
}

TEST(StitchProgram, TakesFilesInTheOrderGivenAndFoldersInNaturalOrder) {
    const ScratchDirectory directory;
    scan("--generate 1520x240 --frame 320x240 --step 120,100 --path row -o scan");
    ASSERT_EQ(shell("cd scan && for i in 1 2 3 4 5 6 7 8 9; do mv frame_000$i.png f$i.png; done; "
                    "mv frame_0010.png f10.png; mv frame_0011.png f11.png")
                  .exitCode,
              0);
    ASSERT_EQ(stitch("scan -o m.png --report r.jsonl").exitCode, 0);
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 11);
    EXPECT_EQ(report.frames[9]["file"], "scan/f10.png");
    ASSERT_EQ(stitch("scan/f3.png scan/f2.png -o two.png --report two.jsonl").exitCode, 0);
    EXPECT_EQ(readReport("two.jsonl").frames[1]["offset"]["x"], -120);
}

TEST(StitchProgram, ReadsAVideo) {
    const ScratchDirectory directory;
    const cv::Mat picture = generatePicture({900, 240}, 1);
    cv::VideoWriter video("film.avi", cv::CAP_FFMPEG, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 25,
                          {320, 240});
    ASSERT_TRUE(video.isOpened());
    for (std::int32_t x = 0; x <= 560; x += 140) video.write(picture(cv::Rect(x, 0, 320, 240)).clone());
    video.release();
    ASSERT_EQ(stitch("film.avi -o m.png --report r.jsonl").exitCode, 0);
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 5);
    EXPECT_EQ(report.frames[4]["file"], "film.avi#5");
}

TEST(StitchProgram, SlowFramesAreMeasuredAgainstTheLastPlacedOne) {
    const ScratchDirectory directory;
    scan("--generate 500x240 --frame 320x240 --step 20,20 --path row -o scan");
    const Outcome outcome = stitch("scan -o m.png --report r.jsonl --on-lost stop");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.frames.size(), 10U);
    EXPECT_EQ(report.frames[1]["reason"], "shift below 10 %");
    EXPECT_EQ(report.frames[2]["placed"], true);
    EXPECT_EQ(report.frames[3]["reason"], "shift below 10 %");
    EXPECT_EQ(report.summary["placed"], 5);
    EXPECT_EQ(report.summary["skipped"], 5);
    EXPECT_EQ(report.summary["refused"], 0);
    EXPECT_TRUE(report.summary["reasons"].empty());
    EXPECT_EQ(outcome.err, "") << "a slow camera is nothing to complain about";
    EXPECT_TRUE(contains(outcome.out, "skipped          5")) << outcome.out;
}

// Narrow overlaps with stage jitter: dy differs from 0 on the way back to the left, where the library wants
// the sign turned round.
TEST(StitchProgram, TriesAgainWithThePositionsWhereTheWholeFrameFails) {
    const ScratchDirectory directory;
    scan("--generate 1500x900 --frame 480x480 --overlap 20 --jitter 6 --noise 4 --grey -o scan");
    ASSERT_EQ(
        stitch("scan -o m.png --no-search --density 0 --report r.jsonl --positions scan/truth.csv").exitCode,
        0);
    const Report report = readReport("r.jsonl");
    std::size_t helped = 0;
    bool backwards = false;
    for (const auto& frame : report.frames) {
        EXPECT_EQ(frame["placed"], true) << frame;
        if (frame["used_expected"] != true) continue;
        EXPECT_EQ(frame["attempts"], 2);
        ++helped;
        if (frame["expected"]["x"] < 0 && frame["expected"]["y"] != 0) backwards = true;
    }
    EXPECT_GE(helped, 2U);
    EXPECT_TRUE(backwards);
    EXPECT_LE(report.summary["offsets"]["largest_error"], 2);

    const Outcome without = stitch("scan -o n.png --no-search --density 0 --report n.jsonl");
    EXPECT_LT(readReport("n.jsonl").summary["placed"], report.summary["placed"]) << without.err;
}

TEST(StitchProgram, UsesAConstantExpectedShiftFirst) {
    const ScratchDirectory directory;
    scan("--generate 900x240 --frame 320x240 --step 140,100 --path row -o scan");
    ASSERT_EQ(stitch("scan -o m.png --no-search --expected 142,0 --report r.jsonl").exitCode, 0);
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 5);
    EXPECT_EQ(report.frames[2]["used_expected"], true);
    EXPECT_EQ(report.frames[2]["attempts"], 1);
}

TEST(StitchProgram, KeepsTheLibrarysLinesApart) {
    const ScratchDirectory directory;
    scan("--generate 440x240 --frame 320x240 --step 120,100 --path row -o scan");
    const Outcome outcome = stitch("scan -o m.png --library-log lines.txt --report -");
    ASSERT_EQ(outcome.exitCode, 0);
    std::istringstream lines(outcome.out);
    std::size_t frames = 0;
    for (std::string line; std::getline(lines, line);)
        if (nlohmann::json::parse(line).contains("frame")) ++frames;
    EXPECT_EQ(frames, 3U) << "two frames, the first of them told twice";
    EXPECT_FALSE(contains(outcome.out, "imageMosaicFun in"));
    EXPECT_EQ(shell("grep -c '^imageMosaicFun in$' lines.txt").out, "1\n");
    EXPECT_FALSE(contains(stitch("scan -o m.png").out, "imageMosaicFun"));
}

TEST(StitchProgram, SaysNothingWhenQuiet) {
    const ScratchDirectory directory;
    scan("--generate 440x240 --frame 320x240 --step 120,100 --path row -o scan");
    const Outcome outcome = stitch("scan -o m.png --quiet");
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST(StitchProgram, TellsItsVersionAndHelp) {
    const ScratchDirectory directory;
    EXPECT_EQ(stitch("--version").out, "brantel-stitch " BRANTEL_VERSION "\n");
    const Outcome help = stitch("--help");
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"--grey",        "--colour",         "--output",      "--report",    "--overview",   "--density",
          "--mode",        "--static",         "--limit",       "--no-search", "--expected",   "--positions",
          "--on-lost",     "--quiet",          "--library-log", "--watch",     "--until-idle", "--raw",
          "--keep-frames", "--range",          "--pages",       "--grid",      "--pixel-size", "--flip-x",
          "--flip-y",      "--trust-positions"})
        EXPECT_TRUE(contains(help.out, option)) << option;
}

}  // namespace
}  // namespace brantel::programs::test
