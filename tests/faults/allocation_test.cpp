// Every allocation of a whole session fails in turn. Whatever it hits, the call says so, the mosaic stays as
// it was, and the same call made again gives the same bytes as if nothing had happened.
#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <opencv2/core.hpp>
#include <string>

#include "faults/fault_injection.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/scratch_directory.h"
#include "support/session.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 96;
constexpr std::int32_t cols = 2000;
constexpr std::int32_t shift = 1700;  // two of them leave a canvas of 6000 columns

struct Plan {
    const char* name;
    std::int32_t channels;
    std::int32_t mainMode;
    bool expected;
    FaultLength length;
    FaultThreads threads;
};

void PrintTo(const Plan& plan, std::ostream* out) {
    *out << plan.name;
}

/// One call of the session: the frames of which mosaic, and which of them.
struct Call {
    int mosaic;
    int frame;  // 1 starts the mosaic with frames 0 and 1
};
const Call calls[] = {{0, 1}, {1, 1}, {1, 2}};
constexpr int newMosaicCall = 1;  // replaces a mosaic that can still be gone on with
constexpr Call continuedInstead = {0, 2};

/// What must be the same again after a fault.
struct State {
    MosaicCorner minCorner{};
    MosaicCorner maxCorner{};
    std::int32_t frameX = 0;
    std::int32_t frameY = 0;
    std::int32_t canvasRows = 0;
    std::int32_t canvasCols = 0;
    std::uint64_t pixels = 0;

    bool operator==(const State& other) const {
        return minCorner.x == other.minCorner.x && minCorner.y == other.minCorner.y &&
               maxCorner.x == other.maxCorner.x && maxCorner.y == other.maxCorner.y &&
               frameX == other.frameX && frameY == other.frameY && canvasRows == other.canvasRows &&
               canvasCols == other.canvasCols && pixels == other.pixels;
    }
};

State stateOf(const StitchOutputs& out) {
    State state{out.minCorner,
                out.maxCorner,
                out.flags.frameX,
                out.flags.frameY,
                out.mosaic.rows,
                out.mosaic.cols,
                0};
    const cv::Range occupiedRows(out.minCorner.y, out.maxCorner.y);
    const cv::Range occupiedCols(out.minCorner.x, out.maxCorner.x);
    if (out.mosaic.empty() || occupiedRows.empty() || occupiedCols.empty()) return state;
    const cv::Mat occupied = out.mosaic(occupiedRows, occupiedCols);
    for (int row = 0; row < occupied.rows; ++row)
        state.pixels = state.pixels * 31 + hashOf(occupied.ptr(row), occupied.cols * occupied.elemSize());
    return state;
}

class EveryAllocation : public testing::TestWithParam<Plan> {
  protected:
    void SetUp() override {
        directory_.write("stitch.txt", "1");
        // Canvases come back from the heap instead of from fresh pages, which would take most of the time.
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
        for (int mosaic = 0; mosaic < 2; ++mosaic) {
            const Picture picture = makePicture(Texture::fine, rows, cols + 2 * shift, GetParam().channels,
                                                static_cast<std::uint64_t>(mosaic) + 7);
            for (int i = 0; i < 3; ++i) frames_[mosaic][i] = picture.window(i * shift, 0, rows, cols);
        }
    }

    bool init() const {
        return initJoint(rows, cols, GetParam().channels, 1, 20000, 20000, GetParam().mainMode, 0);
    }

    StitchOutputs stitch(const Call& call) {
        StitchOutputs out;
        out.result = stichingImagedJoint(
            frames_[call.mosaic][0].data(), frames_[call.mosaic][call.frame].data(), call.frame == 1 ? 0 : 1,
            1, shift, 0, GetParam().expected, &out.minCorner, &out.maxCorner, &out.mosaic, &out.flags);
        return out;
    }

    void recordUndisturbedRun() {
        ASSERT_TRUE(init());
        StitchOutputs out;
        for (const Call& call : calls) {
            out = stitch(call);
            ASSERT_EQ(out.result, 0);
            expected_.push_back(stateOf(out));
        }
        ASSERT_GT(out.mosaic.cols, 6000) << "the last frame was to make the canvas grow";
        ASSERT_TRUE(init());  // the mosaic is kept, and begun anew
        ASSERT_EQ(stitch(calls[0]).result, 0);
        expectedContinuation_ = stateOf(stitch(continuedInstead));
        uinitJoint();
    }

    static bool says(const std::vector<std::string>& lines, const std::string& start) {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& line) { return line.rfind(start, 0) == 0; });
    }

    void initWithFault(FailingAllocation& fault) {
        bool ready = false;
        const auto lines = captureLines([&] { ready = fault.during([&] { return init(); }); });
        if (ready) return;
        EXPECT_TRUE(FailingAllocation::struck());
        EXPECT_TRUE(says(lines, "initJoint failed: "));
        EXPECT_EQ(stitch(calls[0]).result, -1) << "not initialised";
        ASSERT_TRUE(init());
    }

    void callWithFault(FailingAllocation& fault, int number, const State& before) {
        const bool struckBefore = FailingAllocation::struck();
        StitchOutputs out;
        const auto lines = captureLines([&] { out = fault.during([&] { return stitch(calls[number]); }); });
        if (out.result == 0) {
            EXPECT_EQ(stateOf(out), expected_[number]);
            return;
        }
        ASSERT_EQ(out.result, -1);
        ASSERT_TRUE(FailingAllocation::struck());
        EXPECT_FALSE(struckBefore && GetParam().length == FaultLength::once) << "failed without a fault";
        EXPECT_TRUE(says(lines, "stichingImagedJoint failed: ") || says(lines, "worker job failed: "));
        EXPECT_EQ(stateOf(out), before) << "a call that fails changes nothing";
        if (number == newMosaicCall) {
            EXPECT_EQ(stateOf(stitch(continuedInstead)), expectedContinuation_) << "the old mosaic goes on";
        }
        out = stitch(calls[number]);
        EXPECT_EQ(out.result, 0);
        EXPECT_EQ(stateOf(out), expected_[number]) << "the same frame again";
    }

    /// A whole session; false when it ran to its end before the number-th allocation.
    bool sessionWithFault(std::int64_t number) {
        FailingAllocation fault(number, GetParam().length, GetParam().threads);
        initWithFault(fault);
        State before;
        for (int i = 0; i < static_cast<int>(std::size(calls)) && !HasFatalFailure(); ++i) {
            callWithFault(fault, i, before);
            before = expected_[i];
        }
        fault.during([&] { return uinitJoint(); });
        return FailingAllocation::struck();
    }

    ScratchDirectory directory_;
    Frame frames_[2][3];
    std::vector<State> expected_;
    State expectedContinuation_;
};

TEST_P(EveryAllocation, MayFailInTurnAndTheSessionGoesOnWithTheSameBytes) {
    recordUndisturbedRun();
    if (HasFatalFailure()) return;
    std::int64_t number = 1;
    std::int64_t blocksAfter = 0;
    for (; !HasFailure(); ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        if (!sessionWithFault(number)) break;
        if (number == 2) blocksAfter = liveBlocks();  // the first one may have filled caches for good
        if (number > 2) {
            EXPECT_EQ(liveBlocks(), blocksAfter) << "leaked";
        }
    }
    EXPECT_GT(number, 20) << "a session has more allocations than that: is the injection in place?";
    RecordProperty("allocations", static_cast<int>(number - 1));
    std::printf("%d allocations were made to fail\n", static_cast<int>(number - 1));
}

const Plan plans[] = {
#if !defined(__SANITIZE_THREAD__)
    // Hundreds of sessions each, minutes under ThreadSanitizer, and all but the last plan's faults of the
    // workers are the same.
    {"GreyMotion", 1, 1, false, FaultLength::once, FaultThreads::all},
    {"GreyBrightnessExpectedShift", 1, 0, true, FaultLength::fromThenOn, FaultThreads::all},
    {"Colour", 3, 0, false, FaultLength::once, FaultThreads::all},
#endif
    {"GreyWorkersOnly", 1, 1, false, FaultLength::fromThenOn, FaultThreads::onlyWorkers}};

INSTANTIATE_TEST_SUITE_P(Plans, EveryAllocation, testing::ValuesIn(plans),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace brantel::test
