#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs::test {
namespace {

using brantel::test::ScratchDirectory;

TEST(ScanProgram, CutsAPictureIntoFramesAndWritesTheTruth) {
    const ScratchDirectory directory;
    scan("--generate 200x150 -o whole --frame 200x150");
    scan("whole/frame_0001.png -o parts --frame 80x60 --step 40,30");
    const cv::Mat picture = readPicture("whole/frame_0001.png", Channels::asStored);
    const cv::Mat frame = readPicture("parts/frame_0006.png", Channels::asStored);
    ASSERT_EQ(frame.size(), cv::Size(80, 60));
    EXPECT_EQ(cv::norm(frame, picture(cv::Rect(80, 30, 80, 60)), cv::NORM_INF), 0);
    const auto truth = readFile("parts/truth.csv");
    EXPECT_TRUE(contains(std::string(truth.begin(), truth.end()), "frame_0006.png,80,30,-40,0\n"));
}

TEST(ScanProgram, GivesTheSameFilesForTheSameSeed) {
    const ScratchDirectory directory;
    const std::string how = " --generate 200x150 --frame 80x60 --path walk --frames 5 --noise 4 --seed 9";
    scan("-o a" + how);
    scan("-o b" + how);
    EXPECT_EQ(shell("diff -r a b").exitCode, 0);
}

TEST(ScanProgram, DoesNotMixTwoScansInOneFolder) {
    const ScratchDirectory directory;
    scan("--generate 100x100 --frame 60x60 -o a");
    const Outcome outcome = shell("$SCAN --generate 100x100 --frame 60x60 -o a");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "holds pictures already"));
}

TEST(ScanProgram, NamesWrongUsage) {
    const ScratchDirectory directory;
    EXPECT_EQ(shell("$SCAN -o a").exitCode, 2);
    EXPECT_EQ(shell("$SCAN missing.png -o a").exitCode, 2);
    EXPECT_EQ(shell("$SCAN --generate 50x50 --frame 60x60 -o a").exitCode, 2);
    EXPECT_EQ(shell("$SCAN --generate 50x50 --path zigzag -o a").exitCode, 2);
    EXPECT_EQ(shell("$SCAN --generate 70x70 --frame 60x60 -o /proc/a").exitCode, 1);
    EXPECT_EQ(shell("$SCAN --help").exitCode, 0);
}

}  // namespace
}  // namespace brantel::programs::test
