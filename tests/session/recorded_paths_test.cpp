// Recorded camera paths with known truth, without positions: BRANTEL_TEST_IMAGES names a folder with pictures and lists of
// where each lies in the one before (fields file, dx, dy and, for parts of pictures, x, y, w, h).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "session/opened.h"
#include "session/sequence.h"

namespace brantel::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t tolerance = 3;  // pixels per axis of an offset between frames that follow each other

/// What became of a path.
struct Outcome {
    int frames = 0;
    int placed = 0;
    int maps = 0;
    int byCorners = 0;
    int byCorrelation = 0;
    int wrong = 0;
    std::int32_t worst = 0;   // error of an offset
    double milliseconds = 0;  // median of a frame
};

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A path played, with the truth of every frame.
class Played {
  public:
    Played(const Sequence& sequence, bool keepTrack) {
        const fs::path folder = fs::path(sequence.name).parent_path();
        std::vector<double> times;
        for (const Step& step : sequence.steps) {
            const Picture frame = frameOf(folder, step);
            if (!session_) open(frame, keepTrack);
            const Spot before = truth_.empty() ? Spot{0, 0} : truth_.back();
            truth_.push_back({before.x + step.shift.x, before.y + step.shift.y});
            const auto start = std::chrono::steady_clock::now();
            session_->add(frame.pixels);
            times.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
        }
        outcome_.frames = static_cast<int>(truth_.size());
        outcome_.milliseconds = medianOf(std::move(times));
        for (std::size_t i = 0; i < truth_.size(); ++i) judge(i);
        for (std::int32_t m = 1; m <= brantel_session_map_count(session_->get()); ++m)
            outcome_.maps += session_->map(m).joined_into == 0 ? 1 : 0;
    }

    const Outcome& outcome() const { return outcome_; }

  private:
    void open(const Picture& frame, bool keepTrack) {
        brantel_settings settings = settingsFor(frame.rows, frame.cols, frame.channels);
        settings.correlation = keepTrack ? 1 : 0;
        session_ = std::make_unique<Opened>(settings);
    }

    void judge(std::size_t i) {
        const brantel_frame frame = session_->frame(static_cast<std::int64_t>(i));
        if (frame.state != BRANTEL_PLACED) return;
        ++outcome_.placed;
        outcome_.byCorners += frame.found_by == BRANTEL_BY_CORNERS ? 1 : 0;
        outcome_.byCorrelation += frame.found_by == BRANTEL_BY_CORRELATION ? 1 : 0;
        if (frame.joins < 0) return;
        const auto j = static_cast<std::size_t>(frame.joins);
        const brantel_frame other = session_->frame(frame.joins);
        const std::int32_t x = frame.x - other.x - (truth_[i].x - truth_[j].x);
        const std::int32_t y = frame.y - other.y - (truth_[i].y - truth_[j].y);
        const std::int32_t error = std::max(std::abs(x), std::abs(y));
        // Each step of the truth may be a pixel off.
        const auto steps = static_cast<std::int32_t>(i > j ? i - j : j - i);
        outcome_.wrong += error > tolerance + steps - 1 ? 1 : 0;
        outcome_.worst = std::max(outcome_.worst, error);
    }

    std::unique_ptr<Opened> session_;
    std::vector<Spot> truth_;
    Outcome outcome_;
};

TEST(RecordedPaths, AreFollowedWithoutPositions) {
    const char* folder = std::getenv("BRANTEL_TEST_IMAGES");
    if (folder == nullptr) GTEST_SKIP() << "BRANTEL_TEST_IMAGES names no folder";
    const std::vector<Sequence> sequences = sequencesIn(folder);
    ASSERT_FALSE(sequences.empty()) << "no lists of paths in " << folder;
    std::printf("%-46s frames placed maps corners correlation worst ms without: placed ms\n", "");
    int frames = 0;
    int placed = 0;
    for (const Sequence& sequence : sequences) {
        const Outcome kept = Played(sequence, true).outcome();
        const Outcome plain = Played(sequence, false).outcome();
        std::printf("%-46s %6d %6d %4d %7d %11d %5d %5.1f %9d %5.1f\n",
                    fs::path(sequence.name).lexically_relative(folder).string().c_str(), kept.frames,
                    kept.placed, kept.maps, kept.byCorners, kept.byCorrelation, kept.worst, kept.milliseconds,
                    plain.placed, plain.milliseconds);
        EXPECT_EQ(kept.wrong, 0) << sequence.name;
        frames += kept.frames;
        placed += kept.placed;
    }
    std::printf("%d of %d frames placed\n", placed, frames);
    EXPECT_GE(10 * placed, 9 * frames);
}

}  // namespace
}  // namespace brantel::test
