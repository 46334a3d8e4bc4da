// Recorded camera paths with known truth through the program, without positions: BRANTEL_TEST_IMAGES names their folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "programs.h"
#include "session/sequence.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;
using brantel::test::Sequence;

constexpr std::int32_t tolerance = 3;  // pixels per axis of an offset between frames that follow each other

/// Writes the path's frames into a folder, and gives where each lies by its truth.
std::vector<cv::Point> writeFrames(const Sequence& sequence, const fs::path& folder) {
    fs::remove_all(folder);
    fs::create_directory(folder);
    std::vector<cv::Point> truth;
    for (const brantel::test::Step& step : sequence.steps) {
        brantel::test::Picture frame = frameOf(fs::path(sequence.name).parent_path(), step);
        const cv::Mat image(frame.rows, frame.cols, CV_8UC(frame.channels), frame.pixels.data());
        char name[32];
        std::snprintf(name, sizeof name, "frame_%04zu.png", truth.size() + 1);
        cv::imwrite((folder / name).string(), image, {cv::IMWRITE_PNG_COMPRESSION, 1});
        const cv::Point before = truth.empty() ? cv::Point() : truth.back();
        truth.push_back(before + cv::Point(step.shift.x, step.shift.y));
    }
    return truth;
}

/// Every frame has its place in the one mosaic, beside the frame that it joins.
void expectTruth(const Report& report, const std::vector<cv::Point>& truth, const std::string& name) {
    ASSERT_EQ(report.frames.size(), truth.size()) << name;
    EXPECT_EQ(report.summary["placed"], truth.size()) << name << ": " << report.summary["reasons"];
    EXPECT_EQ(report.summary["mosaics"].size(), 1U) << name;
    std::int32_t worst = 0;
    for (std::size_t i = 0; i < truth.size(); ++i) {
        const nlohmann::json& frame = report.frames[i];
        if (frame["joins"].is_null()) continue;
        const std::size_t j = static_cast<std::size_t>(frame["joins"]) - 1;
        const nlohmann::json& other = report.frames[j];
        EXPECT_EQ(frame["map"], other["map"]);
        const cv::Point error = cv::Point(frame["position"]["x"], frame["position"]["y"]) -
                                cv::Point(other["position"]["x"], other["position"]["y"]) -
                                (truth[i] - truth[j]);
        const std::int32_t off = std::max(std::abs(error.x), std::abs(error.y));
        // Each step of the truth may be a pixel off.
        const auto steps = static_cast<std::int32_t>(i > j ? i - j : j - i);
        EXPECT_LE(off, tolerance + steps - 1) << name << ", frame " << i + 1;
        worst = std::max(worst, off);
    }
    std::printf("%-60s %3zu frames, worst offset %d px\n", name.c_str(), truth.size(), worst);
}

TEST(RecordedScans, ArePutTogetherCompletelyWithoutPositions) {
    const char* folder = std::getenv("BRANTEL_TEST_IMAGES");
    if (folder == nullptr) GTEST_SKIP() << "BRANTEL_TEST_IMAGES names no folder";
    const std::vector<Sequence> sequences = brantel::test::sequencesIn(folder);
    ASSERT_FALSE(sequences.empty()) << "no lists of paths in " << folder;
    const ScratchDirectory directory;
    for (const Sequence& sequence : sequences) {
        const std::vector<cv::Point> truth = writeFrames(sequence, "frames");
        const Outcome outcome = stitch("frames -o m.tif --report r.jsonl -q");
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        expectTruth(readReport("r.jsonl"), truth,
                    fs::path(sequence.name).lexically_relative(folder).string());
    }
}

}  // namespace
}  // namespace brantel::programs::test
