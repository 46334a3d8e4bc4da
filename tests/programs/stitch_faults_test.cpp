// What brantel-stitch does with unusable frames, wrong usage, full disks and Ctrl-C.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

/// A row of five frames that overlap by more than half: one may be missing.
class FiveFrames : public ::testing::Test {
  protected:
    FiveFrames() { scan("--generate 740x240 --frame 320x240 --step 100,100 --path row -o scan"); }

    Report reportOf(const std::string& arguments, int exitCode = 0) {
        const Outcome outcome = stitch("scan -o m.png --report r.jsonl " + arguments);
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
        err_ = outcome.err;
        return readReport("r.jsonl");
    }

    ScratchDirectory directory_;
    std::string err_;
};

TEST_F(FiveFrames, ATruncatedFrameIsLeftOutAndNamed) {
    fs::resize_file("scan/frame_0003.png", fs::file_size("scan/frame_0003.png") / 2);
    const Report report = reportOf("");
    EXPECT_EQ(report.frames[2]["reason"], "unreadable");
    EXPECT_EQ(report.summary["placed"], 4);
    EXPECT_TRUE(
        contains(err_, "scan/frame_0003.png is left out: it is a PNG picture that is damaged or cut off"));
}

TEST_F(FiveFrames, AnEmptyFileIsUnreadable) {
    directory_.write("scan/frame_0002.png", "");
    const Report report = reportOf("");
    EXPECT_EQ(report.frames[1]["reason"], "unreadable");
    EXPECT_EQ(report.frames[1]["detail"], "the file is empty");
    EXPECT_TRUE(contains(err_, "scan/frame_0002.png is left out: the file is empty")) << err_;
}

TEST_F(FiveFrames, AFrameOfAnotherSizeIsLeftOut) {
    writePicture("scan/frame_0002.png", cv::Mat(240, 319, CV_8UC3, cv::Scalar(80, 80, 80)));
    const Report report = reportOf("");
    EXPECT_EQ(report.frames[1]["reason"], "wrong size");
    EXPECT_TRUE(contains(err_, "it has 319 x 240 pixels, the first frame has 320 x 240")) << err_;
    EXPECT_EQ(report.summary["placed"], 4);
}

TEST_F(FiveFrames, ABlankFrameHasTooFewCorners) {
    writePicture("scan/frame_0003.png", cv::Mat(240, 320, CV_8UC3, cv::Scalar(80, 80, 80)));
    const Report report = reportOf("--no-search");
    EXPECT_EQ(report.frames[2]["reason"], "too few corners");
    EXPECT_EQ(report.frames[2]["state"], "refused");
    EXPECT_EQ(report.summary["placed"], 4);
}

TEST_F(FiveFrames, ABlankFrameWaitsForOneThatItJoins) {
    writePicture("scan/frame_0003.png", cv::Mat(240, 320, CV_8UC3, cv::Scalar(80, 80, 80)));
    const Report report = reportOf("");
    EXPECT_EQ(report.frames[2]["reason"], "nothing joins it");
    EXPECT_EQ(report.frames[2]["state"], "waiting");
    EXPECT_EQ(report.summary["placed"], 4);
    EXPECT_EQ(report.summary["waiting"], 1);
    EXPECT_EQ(report.summary["refused"], 1) << "those that wait at the end are among the refused ones";
}

TEST_F(FiveFrames, ABadFirstFrameDoesNotSpoilTheMosaic) {
    writePicture("scan/frame_0001.png", cv::Mat(240, 320, CV_8UC3, cv::Scalar(80, 80, 80)));
    const Report report = reportOf("");
    EXPECT_EQ(report.frames[0]["reason"], "no frame joined it");
    EXPECT_EQ(report.frames[1]["starts_mosaic"], true);
    EXPECT_EQ(report.summary["placed"], 4);
}

TEST_F(FiveFrames, ADarkFirstFrameDoesNotSpoilAStrictMosaic) {
    writePicture("scan/frame_0001.png", readPicture("scan/frame_0001.png", Channels::colour) * 0.45);
    for (const char* way : {"--static", "--static --no-search"}) {
        const Report report = reportOf(way);
        EXPECT_EQ(report.frames[0]["reason"], "no frame joined it") << way;
        EXPECT_EQ(report.frames[1]["starts_mosaic"], true) << way;
        EXPECT_EQ(report.summary["placed"], 4) << way;
    }
}

TEST_F(FiveFrames, ADarkFrameFailsTheStrictBrightnessTest) {
    writePicture("scan/frame_0002.png", readPicture("scan/frame_0002.png", Channels::colour) * 0.45);
    for (const char* way : {"--static", "--static --no-search"}) {
        const Report report = reportOf(way);
        EXPECT_EQ(report.frames[1]["reason"], "brightness") << way;
        EXPECT_EQ(report.frames[1]["state"], "refused") << way;
        EXPECT_EQ(report.summary["placed"], 4) << way;
    }
}

TEST_F(FiveFrames, AMovingCameraFailsTheStrictMotionTest) {
    const Report report = reportOf("--static --mode motion", 1);
    EXPECT_EQ(report.frames[1]["reason"], "motion");
    EXPECT_TRUE(contains(err_, "try without --static"));
    EXPECT_FALSE(fs::exists("m.png"));
}

TEST_F(FiveFrames, OneFrameIsNoMosaic) {
    const Outcome outcome = stitch("scan/frame_0001.png -o m.png");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(contains(outcome.err, "1 no frame joined it"));
}

constexpr const char* wrongUsage[] = {"",
                                      "--bogus",
                                      "missing",
                                      "empty",
                                      "bad.csv",
                                      "scan -o m.gif",
                                      "scan --mode loud",
                                      "scan --limit 7",
                                      "scan --positions bad.csv",
                                      "scan --positions missing.csv",
                                      "scan --expected 1,2 --positions scan/truth.csv",
                                      "scan --grey --colour",
                                      "scan --on-lost cry",
                                      "scan --range wide",
                                      "scan --range 5,5",
                                      "scan --pages 0",
                                      "scan --raw 320x240x3",
                                      "--raw 320x240",
                                      "--raw 320x240x2",
                                      "--raw 0x240x3",
                                      "scan --watch scan",
                                      "--watch missing",
                                      "scan --until-idle 3",
                                      "scan --keep-frames kept",
                                      "scan --grid 5",
                                      "scan --grid 4x2",
                                      "scan --flip-x",
                                      "scan --pixel-size 2",
                                      "scan --grid 5x1 --positions scan/truth.csv",
                                      "scan --trust-positions",
                                      "scan --trust-positions --expected 100,0",
                                      "scan --trust-positions --no-search --positions scan/truth.csv",
                                      "scan --density 201",
                                      "scan --limit 60000,60000",
                                      "scan --positions scan/truth.csv --pixel-size 2"};

TEST_F(FiveFrames, WrongUsageIsToldApart) {
    directory_.write("bad.csv", "x,y\n1\n");
    fs::create_directory("empty");
    for (const char* arguments : wrongUsage) {
        const Outcome outcome = stitch(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments;
        EXPECT_NE(outcome.err, "") << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
    }
    EXPECT_FALSE(fs::exists("mosaic.png"));
    EXPECT_FALSE(fs::exists("kept"));
}

TEST_F(FiveFrames, OnlyErrorsAreToldWhenQuiet) {
    writePicture("scan/frame_0003.png", cv::Mat(240, 320, CV_8UC3, cv::Scalar(80, 80, 80)));
    EXPECT_TRUE(contains(stitch("scan -o m.png --no-search").err,
                         "1 frame refused for too few corners, first scan/frame_0003"));
    EXPECT_TRUE(
        contains(stitch("scan -o m.png").err, "1 frame refused for nothing joins it, first scan/frame_0003"));
    EXPECT_EQ(stitch("scan -o m.png -q").err, "");
    EXPECT_EQ(stitch("scan -o m.png -q --no-search").err, "");
    directory_.write("scan/frame_0002.png", "");
    EXPECT_TRUE(contains(stitch("scan -o m.png -q").err, "frame_0002.png is left out: the file is empty"));
    EXPECT_TRUE(contains(stitch("scan/frame_0001.png -o m.png -q").err, "one frame alone makes no mosaic"));
}

TEST_F(FiveFrames, APlaceThatCannotBeWrittenToIsNoticedBeforeTheWork) {
    for (const char* arguments : {"-o missing/m.png", "-o /proc/m.png", "--report missing/r.jsonl",
                                  "--overview missing/o.png", "--library-log missing/l.txt"}) {
        const Outcome outcome = stitch("scan " + std::string(arguments));
        EXPECT_EQ(outcome.exitCode, 1) << arguments;
        EXPECT_TRUE(contains(outcome.err, "cannot write")) << outcome.err;
        EXPECT_EQ(outcome.out, "") << "nothing was stitched";
    }
}

TEST_F(FiveFrames, AFullDiskKeepsTheOldMosaic) {
    directory_.write("m.png", "old");
    const Outcome outcome = shell("ulimit -f 64; exec $STITCH scan -o m.png --report r.jsonl");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(contains(outcome.err, "cannot write m.png")) << outcome.err;
    EXPECT_EQ(readFile("m.png").size(), 3U);
    EXPECT_FALSE(fs::exists("m.png.part"));
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["placed"], 5);
    EXPECT_EQ(report.summary["mosaics"].size(), 0U);
}

TEST_F(FiveFrames, AFullDiskLeavesWholeLinesOfTheReport) {
    const Outcome outcome = shell("ulimit -f 2; exec $STITCH scan -o m.png --report r.jsonl");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(contains(outcome.err, "cannot write r.jsonl")) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, "make room")) << outcome.err;
    const Report report = readReport("r.jsonl");
    EXPECT_GE(report.frames.size(), 1U);
    EXPECT_TRUE(report.summary.is_null());
}

TEST_F(FiveFrames, AReportThatCannotBeWrittenFailsTheRun) {
    if (!fs::is_character_file("/dev/full")) GTEST_SKIP() << "this machine has no /dev/full";
    EXPECT_EQ(stitch("scan -o m.png --report /dev/full").exitCode, 1);
    EXPECT_TRUE(fs::exists("m.png"));
    EXPECT_EQ(shell("$STITCH scan -o n.png --report - >/dev/full").exitCode, 1);
    EXPECT_EQ(shell("$STITCH scan -o n.png >/dev/full").exitCode, 1);
}

TEST_F(FiveFrames, CtrlCSavesWhatThereIs) {
    // The frames again and again: far more than are done when the first ones are.
    const Outcome outcome = shell(
        "$STITCH $(yes scan | head -n 2000) -o m.png --report r.jsonl & pid=$!\n"
        "for i in $(seq 1000); do grep -c placed r.jsonl 2>/dev/null | grep -qv '^[01]$' && break; sleep "
        "0.05; done\n"
        "kill -INT $pid; wait $pid");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(contains(outcome.err, "interrupted after")) << outcome.err;
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["interrupted"], true);
    EXPECT_LT(report.frames.size(), 10000U);
    EXPECT_GE(report.summary["placed"], 2);
    EXPECT_FALSE(readPicture("m.png", Channels::colour).empty());
}

}  // namespace
}  // namespace brantel::programs::test
