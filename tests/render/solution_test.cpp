// Whole scans solved from their frames.
#include "scan_solution.h"

#include <gtest/gtest.h>

#include <cmath>

#include "render/scan_in_memory.h"

namespace brantel::render::test {
namespace {

SolveSettings settingsFor(const MemoryScan& scan) {
    SolveSettings settings;
    settings.frameSize = scan.size;
    return settings;
}

/// Root mean square of the distances from the truth, whatever the whole has moved by.
double errorOf(const MemoryScan& scan, const ScanSolution& solution) {
    cv::Point2d mean;
    const auto count = static_cast<double>(scan.places.size());
    for (std::size_t k = 0; k < scan.places.size(); ++k)
        mean += (solution.frames[k].place - cv::Point2d(scan.places[k])) / count;
    double sum = 0;
    for (std::size_t k = 0; k < scan.places.size(); ++k) {
        const cv::Point2d off = solution.frames[k].place - cv::Point2d(scan.places[k]) - mean;
        sum += off.dot(off);
    }
    return std::sqrt(sum / count);
}

class EveryScan : public ::testing::TestWithParam<int> {};

TEST_P(EveryScan, ComesBackWithinThreeTenthsOfAPixel) {
    MemoryScan scan({320, 240}, {250, 190}, {1400, 1000}, GetParam(), 21);
    scan.vignetting = 0.3;
    const ScanSolution solution = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    EXPECT_LT(errorOf(scan, solution), 0.3);
    EXPECT_GT(solution.agreement.before, 1);
    EXPECT_LT(solution.agreement.after, 0.3);
    EXPECT_LT(solution.agreement.seamsAfter, solution.agreement.seamsBefore / 3);
    for (const SolvedFrame& frame : solution.frames) {
        EXPECT_EQ(frame.picture, 1);
        EXPECT_GT(frame.evidence, 1);
    }
    EXPECT_TRUE(solution.contradicted.empty());
    EXPECT_EQ(scan.readings, scan.places.size());  // once each
}

/// The share of grey samples of 16 bits that are back within so many levels of 8 bits.
double shareWithin(MemoryScan& scan, const ScanSolution& solution, double levels) {
    constexpr double level = 257;
    std::size_t within = 0;
    std::size_t all = 0;
    for (std::size_t k = 0; k < scan.places.size(); ++k) {
        const cv::Mat samples = scan.read(k);
        const cv::Mat truth = scan.picture(cv::Rect(scan.places[k], scan.size));
        // Where the factors are kept, so that nothing has to be put between them.
        for (int row = 0; row < samples.rows; row += solution.light.step)
            for (int col = 0; col < samples.cols; col += solution.light.step) {
                const float factor =
                    solution.light.factors.at<float>(row / solution.light.step, col / solution.light.step);
                const double value = samples.at<std::uint16_t>(row, col) * factor * solution.gains[k];
                within += std::abs(value - truth.at<std::uint16_t>(row, col)) <= levels * level;
                ++all;
            }
    }
    return static_cast<double>(within) / static_cast<double>(all);
}

TEST(Solution, BringsSixteenBitsBackWithinALevelOfEight) {
    MemoryScan scan({320, 240}, {230, 170}, {1800, 1300}, CV_16UC1, 28);
    scan.vignetting = 0.4;
    const ScanSolution solution = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    ASSERT_FALSE(solution.light.isEven());
    EXPECT_EQ(shareWithin(scan, solution, 1), 1);
}

INSTANTIATE_TEST_SUITE_P(Types, EveryScan, ::testing::Values(CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3));

TEST(Solution, IsTheSameEveryTime) {
    MemoryScan scan({320, 240}, {250, 190}, {1000, 800}, CV_8UC1, 22);
    const ScanSolution first = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    const ScanSolution second = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    for (std::size_t k = 0; k < first.frames.size(); ++k) {
        EXPECT_EQ(first.frames[k].place, second.frames[k].place);
        EXPECT_EQ(first.gains[k], second.gains[k]);
    }
}

TEST(Solution, LeavesOutWhatCannotBeReadAndWhatIsNotWanted) {
    MemoryScan scan({320, 240}, {250, 190}, {1000, 800}, CV_8UC1, 23);
    scan.broken = {4};
    std::vector<ScanFrame> frames = scan.knownFrames(2);
    frames[7].wanted = false;
    const ScanSolution solution = solveScan(frames, settingsFor(scan), scan, {});
    EXPECT_EQ(solution.unreadable, std::vector<std::size_t>{4});
    EXPECT_EQ(solution.frames[4].picture, 0);
    EXPECT_EQ(solution.frames[7].picture, 0);
    EXPECT_EQ(solution.frames[5].picture, 1);
}

TEST(Solution, KeepsFramesWithoutEvidenceWhereTheyWere) {
    MemoryScan scan({320, 240}, {250, 190}, {1000, 800}, CV_8UC1, 24);
    scan.picture(cv::Rect(scan.places[3], scan.size)) = 90;  // nothing to see there
    const ScanSolution solution = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    EXPECT_EQ(solution.frames[3].evidence, 0);
    EXPECT_EQ(solution.frames[3].picture, 1);
    const cv::Point2d step = solution.frames[3].place - solution.frames[2].place;
    EXPECT_LT(cv::norm(step - cv::Point2d(scan.places[3] - scan.places[2])), 4);
}

TEST(Solution, TellsOfPicturesThatNothingJoins) {
    MemoryScan scan({320, 240}, {220, 400}, {1000, 700}, CV_8UC1, 25);
    std::vector<ScanFrame> frames = scan.knownFrames(3);
    for (std::size_t k = frames.size() / 2; k < frames.size(); ++k) frames[k].group = 5;
    frames[frames.size() / 2].joins.reset();
    const ScanSolution solution = solveScan(frames, settingsFor(scan), scan, {});
    EXPECT_EQ(solution.frames.front().picture, 1);
    EXPECT_EQ(solution.frames.back().picture, 2);
}

TEST(Solution, EndsWhenAsked) {
    MemoryScan scan({320, 240}, {250, 190}, {1000, 800}, CV_8UC1, 26);
    const auto stop = [](std::size_t done, std::size_t) { return done < 3; };
    EXPECT_THROW(solveScan(scan.knownFrames(2), settingsFor(scan), scan, stop), Cancelled);
    EXPECT_LT(scan.readings, scan.places.size());
}

TEST(Solution, OfOneFrameAndOfNoneIsNothingSpecial) {
    MemoryScan scan({320, 240}, {250, 190}, {320, 240}, CV_8UC3, 27);
    const ScanSolution one = solveScan(scan.knownFrames(2), settingsFor(scan), scan, {});
    EXPECT_EQ(one.frames.at(0).picture, 1);
    EXPECT_EQ(one.gains.at(0), 1);
    EXPECT_TRUE(solveScan({}, settingsFor(scan), scan, {}).frames.empty());
}

}  // namespace
}  // namespace brantel::render::test
