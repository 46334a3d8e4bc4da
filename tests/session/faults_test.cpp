// Every allocation of a session's life fails in turn. The call says so, the session goes on, and the frames end up where
// they do without faults.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <string>

#include "faults/fault_injection.h"
#include "session/opened.h"
#include "support/camera_path.h"

#if defined(__SANITIZE_ADDRESS__)
// OpenCV's Fourier transform does not free everything when memory runs out in its middle.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:cv::hal::DFT\n";
}
#endif

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 130;
constexpr std::int32_t cols = 180;

#if defined(__SANITIZE_ADDRESS__)
constexpr std::int64_t stride = 5;  // sessions are slow there; the plain build tries every allocation
#else
constexpr std::int64_t stride = 1;
#endif

struct Plan {
    const char* name;
    std::int32_t channels;
    std::int32_t correlation;
    FaultLength length;
    FaultThreads threads;
};

void PrintTo(const Plan& plan, std::ostream* out) {
    *out << plan.name;
}

/// A track that is lost, found again as a second map, and joined with the first one.
const Path path = {{0, 0}, {80, 4}, {420, 30}, {340, 30}, {260, 20}, {180, 10}};

class EverySessionAllocation : public testing::TestWithParam<Plan> {
  protected:
    void SetUp() override {
        // Canvases come back from the heap instead of from fresh pages, which would take most of the time.
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
        const Picture picture = makePicture(Texture::fine, 260, 800, GetParam().channels, 17);
        for (const Spot& spot : path) frames_.push_back(picture.window(spot.x, spot.y, rows, cols));
    }

    /// A call that may be hit. What fails says so, and is done again without faults.
    template <class Call>
    void during(FailingAllocation& fault, Call&& call) {
        const bool struckBefore = FailingAllocation::struck();
        const brantel_status status = fault.during(call);
        if (status == BRANTEL_OK) return;
        EXPECT_TRUE(status == BRANTEL_NO_MEMORY || status == BRANTEL_NO_THREADS)
            << brantel_status_text(status);
        EXPECT_TRUE(FailingAllocation::struck());
        EXPECT_FALSE(struckBefore && GetParam().length == FaultLength::once) << "failed without a fault";
        EXPECT_EQ(call(), BRANTEL_OK) << "the same again";
    }

    /// A whole life; false when it ended before the number-th allocation.
    bool live(std::int64_t number, std::vector<brantel_frame>& result) {
        brantel_settings settings = settingsFor(rows, cols, GetParam().channels);
        settings.correlation = GetParam().correlation;
        settings.acceptance = BRANTEL_ACCEPT_BY_MOTION;
        brantel_session* session = nullptr;
        FailingAllocation fault(number, GetParam().length, GetParam().threads);
        during(fault, [&] {
            const brantel_status status = brantel_session_open(&settings, &session);
            EXPECT_EQ(status == BRANTEL_OK, session != nullptr);
            return status;
        });
        for (const Frame& frame : frames_)
            during(fault, [&] { return brantel_session_add(session, frame.data(), nullptr, nullptr); });
        std::vector<std::uint8_t> part(10000 * static_cast<std::size_t>(GetParam().channels));
        during(fault, [&] { return brantel_session_read(session, 1, 0, 0, 100, 100, 2, part.data(), 0); });
        result = framesOf(session);
        during(fault, [&] { return brantel_session_begin_map(session); });
        brantel_session_close(session);
        return FailingAllocation::struck();
    }

    static std::vector<brantel_frame> framesOf(const brantel_session* session) {
        std::vector<brantel_frame> frames(static_cast<std::size_t>(brantel_session_frame_count(session)));
        for (std::size_t i = 0; i < frames.size(); ++i) {
            frames[i].size = sizeof frames[i];
            EXPECT_EQ(brantel_session_frame(session, static_cast<std::int64_t>(i), &frames[i]), BRANTEL_OK);
        }
        return frames;
    }

    /// A frame that waits may be tried later after a fault, and against another frame.
    static void compare(const std::vector<brantel_frame>& expected,
                        const std::vector<brantel_frame>& frames) {
        ASSERT_EQ(frames.size(), expected.size());
        for (std::size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(frames[i].state, expected[i].state) << i;
            EXPECT_LE(std::abs(frames[i].x - frames[0].x - (expected[i].x - expected[0].x)), 3) << i;
            EXPECT_LE(std::abs(frames[i].y - frames[0].y - (expected[i].y - expected[0].y)), 3) << i;
        }
    }

    bool liveAndCompare(std::int64_t number, const std::vector<brantel_frame>& expected) {
        std::vector<brantel_frame> frames;
        const bool struck = live(number, frames);
        if (struck) compare(expected, frames);
        return struck;
    }

    /// OpenCV's Fourier transform does not free everything when memory runs out in its middle: how many blocks it leaves
    /// at most.
    static std::int64_t leftByTransform() {
        const std::vector<double> picture(96 * 128, 1.0);
        std::vector<double> spectrum(picture.size());
        std::int64_t most = 0;
        for (std::int64_t number = 1;; ++number) {
            const std::int64_t before = liveBlocks();
            FailingAllocation fault(number, GetParam().length, GetParam().threads);
            fault.during([&] {
                try {
                    cv::Mat from(96, 128, CV_64F, const_cast<double*>(picture.data()));
                    cv::Mat to(96, 128, CV_64F, spectrum.data());
                    cv::dft(from, to, 0, 96);
                } catch (const std::exception&) {
                    return false;
                }
                return true;
            });
            if (!FailingAllocation::struck()) return most;
            most = std::max(most, liveBlocks() - before);
        }
    }

    using Frame = std::vector<std::uint8_t>;
    std::vector<Frame> frames_;
};

TEST_P(EverySessionAllocation, MayFailInTurnAndTheFramesEndUpInTheSamePlaces) {
    std::vector<brantel_frame> expected;
    live(0, expected);
    if (GetParam().correlation != 0) {
        for (const brantel_frame& frame : expected) EXPECT_EQ(frame.state, BRANTEL_PLACED);
        EXPECT_NE(expected[0].map, 0);
        EXPECT_EQ(expected[2].map, expected[0].map) << "the maps were to be joined";
    }
    std::int64_t number = 1;
    const std::int64_t tolerated = GetParam().correlation != 0 ? leftByTransform() : 0;
    for (; !HasFailure(); number += stride) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const std::int64_t before = liveBlocks();
        if (!liveAndCompare(number, expected)) break;
        if (number > 2) {  // the first one may have filled caches for good
            EXPECT_LE(liveBlocks() - before, tolerated) << "leaked";
        }
    }
    EXPECT_GT(number, 20) << "a session has more allocations than that: is the injection in place?";
    std::printf("%d allocations were made to fail\n", static_cast<int>((number - 1) / stride));
}

const Plan plans[] = {
#if !defined(__SANITIZE_THREAD__)
    {"GreyTracked", 1, 1, FaultLength::once, FaultThreads::all},
    {"ColourTracked", 3, 1, FaultLength::fromThenOn, FaultThreads::all},
    {"GreyUntracked", 1, 0, FaultLength::once, FaultThreads::all},
#endif
    {"GreyWorkersOnly", 1, 1, FaultLength::fromThenOn, FaultThreads::onlyWorkers}};

INSTANTIATE_TEST_SUITE_P(Plans, EverySessionAllocation, testing::ValuesIn(plans),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace brantel::test
