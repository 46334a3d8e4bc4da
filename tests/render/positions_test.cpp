// Positions by least squares: exact where the pairs are, robust where single ones are wrong.
#include "positions/solve_positions.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/picture.h"

namespace brantel::render::test {
namespace {

using brantel::test::Random;

constexpr std::size_t columns = 8;
constexpr std::size_t lines = 6;

/// A serpentine with fractions, known with errors that add up along the chain.
struct Scan {
    std::vector<ScanFrame> frames;
    std::vector<cv::Point2d> truth;
    std::vector<MeasuredPair> pairs;
    std::vector<cv::Point2d> places;  // to be solved

    explicit Scan(std::uint64_t seed) : random_(seed) {
        for (std::size_t k = 0; k < columns * lines; ++k) addFrame(k);
        for (std::size_t a = 0; a < truth.size(); ++a)
            for (std::size_t b = a + 1; b < truth.size(); ++b)
                if (cv::norm(truth[b] - truth[a]) < 115) addPair(a, b);
        for (const ScanFrame& frame : frames) places.push_back(frame.place);
    }

    double noise(double size) { return size * random_.between(-1000, 1000) / 1000.0; }

    void addFrame(std::size_t k) {
        const std::size_t line = k / columns;
        const std::size_t column = line % 2 == 0 ? k % columns : columns - 1 - k % columns;
        truth.emplace_back(100.0 * static_cast<double>(column) + noise(4),
                           80.0 * static_cast<double>(line) + noise(4));
        ScanFrame frame;
        frame.group = 1;
        if (k > 0) {
            frame.joins = k - 1;
            const cv::Point2d step = truth[k] - truth[k - 1];
            frame.offset = {std::round(step.x + noise(1)), std::round(step.y + noise(1))};
            frame.place = frames[k - 1].place + frame.offset;
        }
        frames.push_back(frame);
    }

    void addPair(std::size_t a, std::size_t b) { pairs.push_back({a, b, truth[b] - truth[a], 1, 0, false}); }

    void solve() { solvePositions(frames, pairs, places); }

    /// The largest distance from the truth, whatever the whole has moved by.
    double worst() const {
        const cv::Point2d step = places[0] - truth[0];
        double most = 0;
        for (std::size_t k = 0; k < truth.size(); ++k)
            most = std::max(most, cv::norm(places[k] - truth[k] - step));
        return most;
    }

  private:
    Random random_;
};

TEST(SolvePositions, FindsTheTruthThatThePairsTell) {
    Scan scan(1);
    EXPECT_GT(disagreement(scan.pairs, scan.places), 1);
    scan.solve();
    EXPECT_LT(scan.worst(), 1e-3);
    EXPECT_LT(disagreement(scan.pairs, scan.places), 1e-3);
}

TEST(SolvePositions, SpreadsTheErrorsOfThePairs) {
    Scan scan(2);
    for (MeasuredPair& pair : scan.pairs) pair.offset += {scan.noise(0.3), scan.noise(0.3)};
    scan.solve();
    EXPECT_LT(scan.worst(), 1);
    for (const MeasuredPair& pair : scan.pairs) EXPECT_FALSE(pair.dropped);
}

TEST(SolvePositions, DropsSingleWrongPairsAndNoOthers) {
    Scan scan(3);
    scan.pairs[5].offset += {30, -12};
    scan.pairs[20].offset += {-4, 3};
    scan.pairs[40].offset += {0, 21};
    scan.pairs.back().offset += {300, 200};
    scan.solve();
    EXPECT_LT(scan.worst(), 1e-3);
    for (std::size_t k = 0; k < scan.pairs.size(); ++k) {
        const bool wrong = k == 5 || k == 20 || k == 40 || k + 1 == scan.pairs.size();
        EXPECT_EQ(scan.pairs[k].dropped, wrong) << k;
        if (wrong) {
            EXPECT_GT(scan.pairs[k].residual, largestResidual);
        }
    }
}

TEST(SolvePositions, FollowPairsEvenFarFromTheKnownPlaces) {
    Scan scan(4);
    for (std::size_t k = 0; k < scan.places.size(); ++k)
        scan.places[k].y += 0.02 * std::pow(static_cast<double>(k), 2);
    scan.solve();
    EXPECT_LT(scan.worst(), 1e-3);
}

TEST(SolvePositions, FramesWithoutPairsFollowTheirNeighbours) {
    Scan scan(5);
    const auto touches = [](const MeasuredPair& pair) { return pair.first == 10 || pair.second == 10; };
    scan.pairs.erase(std::remove_if(scan.pairs.begin(), scan.pairs.end(), touches), scan.pairs.end());
    ScanFrame stage;
    stage.group = 1;
    stage.fromStage = true;
    stage.place = scan.frames[20].place + cv::Point2d(35, 3);
    scan.frames.push_back(stage);
    scan.places.push_back(stage.place);
    scan.truth.push_back(scan.truth[20] + cv::Point2d(35, 3));
    scan.solve();
    for (const std::size_t k : {9U, 11U, 20U})
        EXPECT_LT(cv::norm(scan.places[k] - scan.truth[k] - (scan.places[0] - scan.truth[0])), 1e-3);
    const cv::Point2d fromChain = scan.places[10] - scan.places[9];
    EXPECT_LT(cv::norm(fromChain - (scan.truth[10] - scan.truth[9])), 3);
    EXPECT_LT(cv::norm(scan.places.back() - scan.places[20] - cv::Point2d(35, 3)), 1e-6);
}

TEST(SolvePositions, PartsThatNothingConnectsStayWhereTheyAre) {
    Scan scan(6);
    scan.frames[24].joins.reset();  // in the middle of the scan's lines
    const auto crosses = [](const MeasuredPair& pair) { return pair.first < 24 && pair.second >= 24; };
    scan.pairs.erase(std::remove_if(scan.pairs.begin(), scan.pairs.end(), crosses), scan.pairs.end());
    scan.solve();
    std::vector<double> moved;
    for (std::size_t k = 24; k < scan.places.size(); ++k)
        moved.push_back(scan.places[k].x - scan.frames[k].place.x);
    std::nth_element(moved.begin(), moved.begin() + 11, moved.end());
    EXPECT_NEAR(moved[11], 0, 1e-9);
    EXPECT_NEAR(disagreement(scan.pairs, scan.places), 0, 1e-3);
}

TEST(SolvePositions, OfNothingAndOfOneFrameChangeNothing) {
    std::vector<MeasuredPair> pairs;
    std::vector<cv::Point2d> places;
    solvePositions({}, pairs, places);
    ScanFrame frame;
    frame.place = {3.5, -2};
    places = {frame.place};
    solvePositions({frame}, pairs, places);
    EXPECT_EQ(places[0], frame.place);
    EXPECT_EQ(disagreement(pairs, places), 0);
}

}  // namespace
}  // namespace brantel::render::test
