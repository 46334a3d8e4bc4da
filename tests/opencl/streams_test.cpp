// Whole streams through OpenCL, against the truth and against the CPU.
#include <algorithm>
#include <tuple>

#include "opencl/cl_session.h"
#include "opencl/fake_machine.h"
#include "support/camera_path.h"
#include "support/output_capture.h"

namespace brantel::test {

namespace {

constexpr std::int32_t rows = 216;  // not square, no multiples of the tile of 16
constexpr std::int32_t cols = 300;

// The pictures are such that every offset comes out exact where a test says so: with other seeds a consensus
// may settle on a hypothesis 2 pixels away, here as on the CPU.
class OpenClStream : public FakeMachine {
  protected:
    void SetUp() override {
        FakeMachine::SetUp();
        unsetenv("FAKE_CL_TRACE");
    }

    static FollowReport followPath(const SessionOptions& options, const Picture& picture, const Path& path,
                                   const Disturb& disturb = nullptr) {
        FollowReport report;
        captureOutput([&] {
            Session session(options);
            ASSERT_TRUE(session.ready());
            report = follow(session, picture, path, options.rows, options.cols, disturb);
        });
        return report;
    }

    static void expectTheCpusPlaces(const Picture& picture, const Path& path, std::int32_t width);

    /// Where every offset is exact, frames of one picture blend into that picture again: a seam would show as
    /// a difference.
    static int differingPixels(const FollowReport& report, const Picture& picture, Spot first) {
        const cv::Mat& mosaic = report.last.mosaic;
        int different = 0;
        for (std::int32_t y = report.last.minCorner.y; y < report.last.maxCorner.y; ++y)
            for (std::int32_t x = report.last.minCorner.x; x < report.last.maxCorner.x; ++x) {
                const std::uint8_t* placed = mosaic.ptr(y) + x * picture.channels;
                const std::int64_t row = y - report.origin.y + first.y;
                const std::int64_t column = x - report.origin.x + first.x;
                const std::uint8_t* truth =
                    picture.pixels.data() + (row * picture.cols + column) * picture.channels;
                const bool empty =
                    std::all_of(placed, placed + picture.channels, [](int v) { return v == 0; });
                if (!empty && !std::equal(placed, placed + picture.channels, truth)) ++different;
            }
        return different;
    }
};

void OpenClStream::expectTheCpusPlaces(const Picture& picture, const Path& path, std::int32_t width) {
    SessionOptions onCpu = openClSession(rows, width, picture.channels);
    onCpu.entries = {};
    onCpu.forceCpu = true;
    const auto records = [&](const SessionOptions& options) {
        std::vector<StitchFlags> all;
        captureOutput([&] {
            Session session(options);
            Frame frame = picture.window(path[0].x, path[0].y, rows, width);
            for (std::size_t i = 1; i < path.size(); ++i) {
                const Frame next = picture.window(path[i].x, path[i].y, rows, width);
                all.push_back((i == 1 ? session.start(frame, next) : session.next(next)).flags);
            }
        });
        return all;
    };
    const std::vector<StitchFlags> found = records(openClSession(rows, width, picture.channels));
    const std::vector<StitchFlags> expected = records(onCpu);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(found[i].offset.x, expected[i].offset.x) << "frame " << i;
        EXPECT_EQ(found[i].offset.y, expected[i].offset.y) << "frame " << i;
        EXPECT_EQ(found[i].frameX, expected[i].frameX) << "frame " << i;
        EXPECT_EQ(found[i].frameY, expected[i].frameY) << "frame " << i;
        EXPECT_EQ(found[i].stitch_flags, expected[i].stitch_flags) << "frame " << i;
    }
}

class OpenClStreams : public OpenClStream, public ::testing::WithParamInterface<int> {};

TEST_P(OpenClStreams, FollowASerpentineExactlyAndLeaveNoSeam) {
    const Picture picture = makePicture(Texture::fine, 520, 800, GetParam(), 8);
    const Spot first{20, 20};
    const Path path = serpentinePath(first, 120, 90, 3, 2);
    for (const std::int32_t mainMode : {0, 1}) {
        const FollowReport report =
            followPath(openClSession(rows, cols, GetParam(), mainMode), picture, path);
        EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
        EXPECT_EQ(report.worstError, 0) << report.summary();
        EXPECT_EQ(differingPixels(report, picture, first), 0) << report.summary();
    }
}

TEST_P(OpenClStreams, FollowARandomWalkWithNoise) {
    const Picture picture = makePicture(Texture::grains, 620, 700, GetParam(), 12);
    const Path path = randomPath({200, 200}, {0, 0}, {700 - cols, 620 - rows}, 40, 90, 12, 5);
    const auto noise = [](std::vector<std::uint8_t>& frame, std::size_t number) {
        addNoise(frame, 4, 100 + number);
    };
    const FollowReport report = followPath(openClSession(rows, cols, GetParam()), picture, path, noise);
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
    EXPECT_EQ(report.wrong, 0) << report.summary();
}

TEST_P(OpenClStreams, GrowTheCanvasOnEverySideThatNeedsIt) {
    const Picture picture = makePicture(Texture::fine, 240, 4200, GetParam(), 6);
    const Spot first{3880, 20};
    const Path path = straightPath(first, -150, 0, 21);
    const FollowReport report = followPath(openClSession(rows, cols, GetParam()), picture, path);
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
    EXPECT_EQ(report.wrong, 0) << report.summary();
    EXPECT_GT(report.last.mosaic.cols, 6000);
    EXPECT_EQ(differingPixels(report, picture, first), 0) << report.summary();
}

TEST_P(OpenClStreams, FindTheOffsetsThatTheCpuFinds) {
    const Picture picture = makePicture(Texture::fine, 620, 700, GetParam(), 14);
    const Path path = randomPath({200, 200}, {0, 0}, {700 - cols, 620 - rows}, 40, 90, 8, 6);
    expectTheCpusPlaces(picture, path, cols);
}

/// (channels, columns)
class OpenClOddStreams : public OpenClStream, public ::testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(OpenClOddStreams, FollowVerticalShifts) {
    const auto [channels, width] = GetParam();
    const Picture picture = makePicture(Texture::fine, 700, width + 40, channels, 3);
    const Spot first{20, 20};
    const Path path = straightPath(first, 0, 90, 5);
    const FollowReport report = followPath(openClSession(rows, width, channels), picture, path);
    EXPECT_EQ(report.placed, static_cast<int>(path.size())) << report.summary();
    EXPECT_EQ(report.worstError, 0) << report.summary();
    EXPECT_EQ(differingPixels(report, picture, first), 0) << report.summary();
}

TEST_P(OpenClOddStreams, FindTheOffsetsThatTheCpuFinds) {
    const auto [channels, width] = GetParam();
    const Picture picture = makePicture(Texture::fine, 620, width + 400, channels, 8);
    expectTheCpusPlaces(picture, randomPath({200, 200}, {0, 0}, {400, 620 - rows}, 70, 110, 6, 6), width);
}

INSTANTIATE_TEST_SUITE_P(ChannelsAndWidths, OpenClOddStreams,
                         ::testing::Combine(::testing::Values(1, 3), ::testing::Values(301, 641)));

INSTANTIATE_TEST_SUITE_P(Channels, OpenClStreams, ::testing::Values(1, 3));

}  // namespace

}  // namespace brantel::test
