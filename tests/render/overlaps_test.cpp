// Which frames are compared.
#include "positions/overlaps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace brantel::render::test {
namespace {

using Pair = std::pair<std::size_t, std::size_t>;
constexpr int cols = 100;
constexpr int rows = 80;
const cv::Size size(cols, rows);

ScanFrame at(double x, double y, std::int32_t group = 1) {
    ScanFrame frame;
    frame.place = {x, y};
    frame.group = group;
    return frame;
}

bool contains(const std::vector<Pair>& pairs, Pair pair) {
    return std::find(pairs.begin(), pairs.end(), pair) != pairs.end();
}

TEST(OverlapShare, IsThePartOfTheAreaThatBothCover) {
    EXPECT_DOUBLE_EQ(overlapShare({0, 0}, {0, 0}, size), 1);
    EXPECT_DOUBLE_EQ(overlapShare({10, 20}, {60, 20}, size), 0.5);
    EXPECT_DOUBLE_EQ(overlapShare({10, 20}, {-40, -20}, size), 0.25);
    EXPECT_EQ(overlapShare({0, 0}, {100, 0}, size), 0);
    EXPECT_EQ(overlapShare({0, 0}, {-300, -300}, size), 0);
}

TEST(OverlappingPairs, OfASerpentineAreNeighboursInRowsAndColumns) {
    std::vector<ScanFrame> frames;
    for (const int x : {0, 80, 160}) frames.push_back(at(x, 0));
    for (const int x : {160, 80, 0}) frames.push_back(at(x, 64));
    const std::vector<Pair> pairs = overlappingPairs(frames, size);
    for (const Pair& pair :
         {Pair(0, 1), Pair(1, 2), Pair(2, 3), Pair(3, 4), Pair(4, 5), Pair(1, 4), Pair(0, 5)})
        EXPECT_TRUE(contains(pairs, pair)) << pair.first << " " << pair.second;
    EXPECT_FALSE(contains(pairs, {0, 2}));
    EXPECT_TRUE(std::is_sorted(pairs.begin(), pairs.end()));
}

TEST(OverlappingPairs, AreOfOneGroupAndOfWantedFrames) {
    std::vector<ScanFrame> frames{at(0, 0), at(50, 0, 2), at(10, 0), at(60, 0, 2)};
    frames[2].wanted = false;
    EXPECT_EQ(overlappingPairs(frames, size), (std::vector<Pair>{{1, 3}}));
}

TEST(OverlappingPairs, OfAVideoAreFewForEveryFrameAndStillReachTheNextRow) {
    std::vector<ScanFrame> frames;
    for (int k = 0; k < 100; ++k) frames.push_back(at(3 * k, 0));
    for (int k = 99; k >= 0; --k) frames.push_back(at(3 * k, 60));
    const std::vector<Pair> pairs = overlappingPairs(frames, size);
    EXPECT_LT(pairs.size(), 8 * frames.size());
    const auto crossing = std::count_if(
        pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.first < 100 && pair.second >= 100; });
    EXPECT_GE(crossing, 100);
}

TEST(OverlappingPairs, AreThoseOfTheLiveRunToo) {
    std::vector<ScanFrame> frames{at(0, 0), at(30, 0), at(60, 0)};
    EXPECT_FALSE(contains(overlappingPairs(frames, size), {0, 2}));
    frames[2].joins = 0;
    EXPECT_TRUE(contains(overlappingPairs(frames, size), {0, 2}));
    frames[0].wanted = false;
    EXPECT_FALSE(contains(overlappingPairs(frames, size), {0, 2}));
}

TEST(OverlappingPairs, WorkFarFromTheOriginAndBelowIt) {
    const std::vector<ScanFrame> frames{at(-1e6 - 50, -1e6), at(-1e6, -1e6), at(1e6, 5)};
    EXPECT_EQ(overlappingPairs(frames, size), (std::vector<Pair>{{0, 1}}));
    EXPECT_TRUE(overlappingPairs({}, size).empty());
}

}  // namespace
}  // namespace brantel::render::test
