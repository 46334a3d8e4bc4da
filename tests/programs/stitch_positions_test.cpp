// Positions of the stage: micrometres, mirrored axes, grids, pictures that contradict them.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

class StagePositions : public ::testing::Test {
  protected:
    StagePositions() { scan("--generate 640x480 --frame 320x240 --step 160,120 -o scan"); }

    /// The nine frames' positions, times a factor for each axis.
    void writeTable(const std::string& header, double x, double y) {
        const int plan[][2] = {{0, 0},   {160, 0}, {320, 0},   {320, 120}, {160, 120},
                               {0, 120}, {0, 240}, {160, 240}, {320, 240}};
        std::string table = header + "\n";
        for (int k = 0; k < 9; ++k)
            table += "frame_000" + std::to_string(k + 1) + ".png," + std::to_string(plan[k][0] * x) + "," +
                     std::to_string(plan[k][1] * y) + "\n";
        directory_.write("stage.csv", table);
    }

    nlohmann::json summaryOf(const std::string& arguments) {
        const Outcome outcome = stitch("scan -o m.png --report r.jsonl " + arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        err_ = outcome.err;
        return readReport("r.jsonl").summary;
    }

    ScratchDirectory directory_;
    std::string err_;
};

TEST_F(StagePositions, InMicrometresAreMultipliedByThePixels) {
    writeTable("file,x_um,y_um", 0.65, 0.65);
    const nlohmann::json summary = summaryOf("--positions stage.csv --pixel-size 0.65");
    EXPECT_EQ(summary["offsets"]["compared"], 8);
    EXPECT_LE(summary["offsets"]["largest_error"], 2);
    const Outcome without = stitch("scan -o m.png --positions stage.csv");
    EXPECT_EQ(without.exitCode, 2);
    EXPECT_TRUE(contains(without.err, "--pixel-size")) << without.err;
}

TEST_F(StagePositions, MirroredAxesAreNoticedAndCanBeFlipped) {
    writeTable("file,x,y", -1, 1);
    nlohmann::json summary = summaryOf("--positions stage.csv");
    EXPECT_EQ(summary["mirrored"], nlohmann::json::array({"x"}));
    EXPECT_TRUE(contains(err_, "mirrored against the expected ones in x; try --flip-x")) << err_;
    summary = summaryOf("--positions stage.csv --flip-x");
    EXPECT_EQ(summary["mirrored"], nlohmann::json::array());
    EXPECT_LE(summary["offsets"]["largest_error"], 2);
    EXPECT_EQ(err_, "");
    summary = summaryOf("--positions stage.csv --flip-x --flip-y");
    EXPECT_EQ(summary["mirrored"], nlohmann::json::array({"y"}));
    EXPECT_TRUE(contains(err_, "in y; try without --flip-y")) << err_;
}

TEST_F(StagePositions, AGridServesAsPositions) {
    const nlohmann::json summary = summaryOf("--grid 3x3,snake,overlap=50");
    EXPECT_EQ(summary["offsets"]["compared"], 8);
    EXPECT_LE(summary["offsets"]["largest_error"], 2);
    const Outcome wrong = stitch("scan -o m.png --grid 3x4,snake");
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(contains(wrong.err, "--grid says 3 x 4 frames, but there are 9")) << wrong.err;
}

TEST_F(StagePositions, OfOtherFilesAreAnError) {
    directory_.write("other.csv", "file,x,y\nimg1.png,0,0\nimg2.png,160,0\n");
    const Outcome outcome = stitch("scan -o m.png --positions other.csv");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "other.csv names no file that is stitched: it has img1.png"))
        << outcome.err;
}

/// A sharp scale bar in faint pictures is all that the registration finds.
TEST(ScaleBar, DoesNotMakeAMovingStageStandStill) {
    const ScratchDirectory directory;
    scan("--generate 740x240 --frame 320x240 --step 100,100 --path row --grey -o scan");
    for (int k = 1; k <= 5; ++k) {
        const std::string name = "scan/frame_000" + std::to_string(k) + ".png";
        cv::Mat frame = readPicture(name, Channels::grey) * 0.02 + 100;
        for (int i = 0; i < 40; ++i)
            cv::rectangle(frame, cv::Rect(8 + (i % 10) * 30, 10 + (i / 10) * 60, 7 + i % 5, 9 + i % 7),
                          cv::Scalar(255), cv::FILLED);
        writePicture(name, frame);
    }
    const Outcome outcome = stitch("scan -o m.png --report r.jsonl --positions scan/truth.csv");
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.summary["skipped"], 0) << outcome.err;
    EXPECT_EQ(report.frames[1]["reason"], "no shift where one was expected");
    EXPECT_TRUE(contains(outcome.err, "should have moved by 100,0 pixels")) << outcome.err;
    const Outcome without = stitch("scan -o m.png --report r.jsonl");
    EXPECT_EQ(readReport("r.jsonl").frames[1]["reason"], "shift below 10 %") << without.err;
}

}  // namespace
}  // namespace brantel::programs::test
