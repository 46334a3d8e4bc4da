// Real frames with known truth: BRANTEL_TEST_IMAGES names a folder with lists of recorded paths. Every step is found,
// and nothing joins frames that have nothing in common.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "common/grey.h"
#include "session/coarse_frames.h"
#include "session/sequence.h"

namespace brantel::test {
namespace {

namespace fs = std::filesystem;

constexpr double allowed = 3;             // pixels; the truth itself is known to one or two
constexpr std::int32_t surelyApart = 20;  // pixels between frames whose chained positions may be off

Grey greyOf(const Picture& picture) {
    if (picture.channels == 1) return picture.pixels;
    Grey grey;
    grey.reserve(picture.pixels.size() / 3);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 3)
        grey.push_back(brantel::greyOf(picture.pixels[i], picture.pixels[i + 1], picture.pixels[i + 2]));
    return grey;
}

/// The frames of one list, prepared, with their positions.
struct Recording {
    std::string name;
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    std::vector<Spot> positions;
    std::vector<Grey> greys;
    std::vector<session::CoarseFrame> frames;
    std::unique_ptr<session::CoarseMatcher> matcher;

    explicit Recording(const Sequence& sequence) : name(sequence.name) {
        Spot at{0, 0};
        for (const Step& step : sequence.steps) {
            const Picture picture = frameOf(fs::path(sequence.name).parent_path(), step);
            if (matcher == nullptr) {
                rows = picture.rows;
                cols = picture.cols;
                matcher = std::make_unique<session::CoarseMatcher>(rows, cols);
            }
            at = {at.x + step.shift.x, at.y + step.shift.y};
            positions.push_back(at);
            greys.push_back(greyOf(picture));
            frames.emplace_back();
            matcher->prepare(greys.back().data(), frames.back());
        }
    }
    CoarseShift match(std::size_t previous, std::size_t current) {
        return matcher->match(frames[previous], greys[previous].data(), frames[current],
                              greys[current].data());
    }
    bool overlap(std::size_t a, std::size_t b) const {
        return std::abs(positions[a].x - positions[b].x) < cols + surelyApart &&
               std::abs(positions[a].y - positions[b].y) < rows + surelyApart;
    }
};

/// Calls visit(recording) for every list; skips the test when there is none.
template <class Visit>
void eachRecording(Visit&& visit) {
    const char* folder = std::getenv("BRANTEL_TEST_IMAGES");
    if (folder == nullptr) GTEST_SKIP() << "BRANTEL_TEST_IMAGES names no folder";
    const std::vector<Sequence> sequences = sequencesIn(folder);
    if (sequences.empty()) GTEST_SKIP() << "no list of a recorded path in " << folder;
    for (const Sequence& sequence : sequences) {
        Recording recording(sequence);
        visit(recording);
    }
}

TEST(CoarseRecorded, EveryStepIsFound) {
    eachRecording([](Recording& recording) {
        for (std::size_t k = 1; k < recording.frames.size(); ++k) {
            const CoarseShift shift = recording.match(k - 1, k);
            const double x = recording.positions[k].x - recording.positions[k - 1].x;
            const double y = recording.positions[k].y - recording.positions[k - 1].y;
            EXPECT_EQ(shift.verdict, CoarseVerdict::certain) << recording.name << ", " << k << ": " << shift;
            EXPECT_LE(errorOf(shift, x, y), allowed) << recording.name << ", " << k << ": " << shift;
        }
    });
}

TEST(CoarseRecorded, FramesApartAreNeverJoined) {
    std::size_t pairs = 0;
    std::size_t doubtful = 0;
    eachRecording([&](Recording& recording) {
        for (std::size_t a = 0; a < recording.frames.size(); ++a)
            for (std::size_t b = a + 1; b < recording.frames.size(); ++b) {
                if (recording.overlap(a, b)) continue;
                const CoarseShift shift = recording.match(a, b);
                EXPECT_NE(shift.verdict, CoarseVerdict::certain)
                    << recording.name << ", " << a << " and " << b << ": " << shift;
                ++pairs;
                doubtful += shift.verdict == CoarseVerdict::doubtful ? 1 : 0;
            }
    });
    if (IsSkipped()) return;
    RecordProperty("pairs", static_cast<int>(pairs));
    RecordProperty("doubtful", static_cast<int>(doubtful));
    EXPECT_LE(doubtful, pairs / 20);
}

/// Frames of one size from all pictures of the folder, those of recorded paths left out.
std::vector<Grey> strangers(const fs::path& folder, std::int32_t rows, std::int32_t cols) {
    std::vector<Grey> frames;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const bool recorded = !entry.is_regular_file() || !sequencesIn(entry.path().parent_path()).empty();
        const cv::Mat image = recorded ? cv::Mat() : cv::imread(entry.path().string(), cv::IMREAD_COLOR);
        // Windows of one picture lie a quarter of a frame apart.
        for (std::int32_t y = 0; y + rows <= image.rows; y += rows * 5 / 4)
            for (std::int32_t x = 0; x + cols <= image.cols; x += cols * 5 / 4) {
                const cv::Mat part = image(cv::Rect(x, y, cols, rows)).clone();
                frames.push_back(greyOf({rows, cols, 3, {part.datastart, part.dataend}}));
            }
    }
    return frames;
}

TEST(CoarseRecorded, StrangersAreNeverJoined) {
    const char* folder = std::getenv("BRANTEL_TEST_IMAGES");
    if (folder == nullptr) GTEST_SKIP() << "BRANTEL_TEST_IMAGES names no folder";
    constexpr std::int32_t rows = 480;
    constexpr std::int32_t cols = 640;
    const std::vector<Grey> greys = strangers(folder, rows, cols);
    session::CoarseMatcher matcher(rows, cols);
    std::vector<session::CoarseFrame> frames(greys.size());
    for (std::size_t k = 0; k < greys.size(); ++k) matcher.prepare(greys[k].data(), frames[k]);
    std::size_t pairs = 0;
    for (std::size_t a = 0; a < greys.size(); ++a)
        for (std::size_t b = a + 1; b < greys.size(); ++b, ++pairs) {
            const CoarseShift shift = matcher.match(frames[a], greys[a].data(), frames[b], greys[b].data());
            EXPECT_NE(shift.verdict, CoarseVerdict::certain) << a << " and " << b << ": " << shift;
        }
    RecordProperty("pairs", static_cast<int>(pairs));
}

}  // namespace
}  // namespace brantel::test
