// Maps of one run are joined where they overlap.
#include "positions/join_groups.h"

#include <gtest/gtest.h>

#include "render/scan_in_memory.h"

namespace brantel::render::test {
namespace {

MemoryScan scanOf() {
    return MemoryScan({320, 240}, {220, 160}, {1000, 800}, CV_8UC1, 11);
}

/// The second half of the frames as a map of its own.
std::vector<ScanFrame> inTwoMaps(const MemoryScan& scan) {
    std::vector<ScanFrame> frames = scan.knownFrames(1);
    const std::size_t half = frames.size() / 2;
    const cv::Point2d start = frames[half].place;
    for (std::size_t k = half; k < frames.size(); ++k) {
        frames[k].group = 2;
        frames[k].place -= start;
    }
    frames[half].joins.reset();
    return frames;
}

double worstOf(const MemoryScan& scan, const std::vector<ScanFrame>& frames) {
    double worst = 0;
    for (std::size_t k = 0; k < frames.size(); ++k)
        worst = std::max(worst, cv::norm(frames[k].place - frames[0].place -
                                         cv::Point2d(scan.places[k] - scan.places[0])));
    return worst;
}

TEST(JoinGroups, FindsHowMapsLieWithoutAnyHint) {
    MemoryScan scan = scanOf();
    std::vector<ScanFrame> frames = inTwoMaps(scan);
    joinGroups(frames, scan.size, scan, {});
    for (const ScanFrame& frame : frames) EXPECT_EQ(frame.group, 1);
    EXPECT_LT(worstOf(scan, frames), 30);  // as far as chains drift
}

TEST(JoinGroups, UsesTheStage) {
    MemoryScan scan = scanOf();
    std::vector<ScanFrame> frames = inTwoMaps(scan);
    for (std::size_t k = 0; k < frames.size(); ++k)
        frames[k].stage = cv::Point2d(scan.places[k]) + cv::Point2d(7000 + 9.0 * (k % 2), -300);
    joinGroups(frames, scan.size, scan, {});
    EXPECT_EQ(frames.back().group, 1);
    EXPECT_LT(worstOf(scan, frames), 30);
}

TEST(JoinGroups, MapsThatOnlyTheStageConnectsShareAPicture) {
    MemoryScan scan({320, 240}, {220, 400}, {1000, 700}, CV_8UC1, 12);
    std::vector<ScanFrame> frames = inTwoMaps(scan);
    for (std::size_t k = 0; k < frames.size(); ++k) frames[k].stage = cv::Point2d(scan.places[k]);
    joinGroups(frames, scan.size, scan, {});
    EXPECT_EQ(frames.back().group, 1);
    EXPECT_LT(worstOf(scan, frames), 20);
}

TEST(JoinGroups, MapsApartStayApart) {
    MemoryScan scan({320, 240}, {220, 400}, {1000, 700}, CV_8UC1, 13);
    std::vector<ScanFrame> frames = inTwoMaps(scan);
    const std::vector<ScanFrame> before = frames;
    joinGroups(frames, scan.size, scan, {});
    for (std::size_t k = 0; k < frames.size(); ++k) {
        EXPECT_EQ(frames[k].group, before[k].group);
        EXPECT_EQ(frames[k].place, before[k].place);
    }
}

TEST(JoinGroups, OneMapIsNotEvenRead) {
    MemoryScan scan = scanOf();
    std::vector<ScanFrame> frames = scan.knownFrames(1);
    joinGroups(frames, scan.size, scan, {});
    EXPECT_EQ(scan.readings, 0U);
}

}  // namespace
}  // namespace brantel::render::test
