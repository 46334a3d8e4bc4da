// What a merged frame of a running stream asks of the device: an increase is a step back that no result shows.
#include "cuda/traffic.h"

#include <gtest/gtest.h>

#include <tuple>

namespace brantel::test {
namespace {

/// (main mode, channels)
class CudaTraffic : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
  protected:
    static constexpr std::size_t rows = 240, cols = 320;
    static constexpr std::size_t pixels = rows * cols;
    static constexpr std::size_t product = pixels / 4 * sizeof(float);  // at half size
    static constexpr std::size_t map = pixels * sizeof(float);
    static constexpr std::size_t overlap = (rows - 8) * (cols - cols / 4);

    void SetUp() override {
        SessionOptions options{rows, cols, std::get<1>(GetParam())};
        options.mainMode = std::get<0>(GetParam());
        options.forceCpu = false;
        ASSERT_TRUE(mergeSteadyFrame(options, [this](const std::function<void()>& call) {
            call();
            traffic = emulated_cuda::traffic();
            EXPECT_EQ(emulated_cuda::violations(), std::vector<std::string>{});
            EXPECT_TRUE(emulated_cuda::allocations().empty());
        }));
    }
    static bool byMotion() { return std::get<0>(GetParam()) != 0; }
    static bool isColour() { return std::get<1>(GetParam()) == 3; }
    static std::size_t colour() { return pixels * static_cast<std::size_t>(std::get<1>(GetParam())); }
    static std::size_t colourCut() { return overlap * static_cast<std::size_t>(std::get<1>(GetParam())); }

    emulated_cuda::Traffic traffic{};
};

TEST_P(CudaTraffic, LaunchesOfAMergedFrame) {
    const std::size_t grey = isColour() ? 1 : 0;
    const std::size_t side = grey + 2 + 3 * 5;
    const std::size_t motion = 2 * (grey + 5) + 1;
    const std::size_t brightness = 2 * (grey + 4);
    EXPECT_EQ(traffic.launches, 1 + 2 * side + (byMotion() ? motion : brightness) + 3);
}

TEST_P(CudaTraffic, OnlyWhatIsNewGoesToTheDevice) {
    // the frame, the canvas's part and its distances, and for the brightness test both cuts
    EXPECT_EQ(traffic.toDevice.count, byMotion() ? 3 : 5);
    EXPECT_EQ(traffic.toDevice.bytes, 2 * colour() + map + (byMotion() ? 0 : 2 * colourCut()));
    EXPECT_EQ(traffic.onDevice.count, 0);
}

TEST_P(CudaTraffic, OnlyWhatIsReadComesToTheHost) {
    // both sides' grey images and products, the canvas's mask and the blended frame
    const std::size_t always = 2 * (pixels + 3 * product) + map + colour();
    // differences, or the frame without zeros and twice both cuts' grey images
    const std::size_t test = byMotion() ? pixels : colour() + 4 * overlap;
    EXPECT_EQ(traffic.toHost.count, 2 * 4 + 1 + 1 + (byMotion() ? 1 : 5));
    EXPECT_EQ(traffic.toHost.bytes, always + test);
}

TEST_P(CudaTraffic, OnlyTheHostsOwnFrameIsPageable) {
    EXPECT_EQ(traffic.pageableBytes, colour());
}

INSTANTIATE_TEST_SUITE_P(ModesAndChannels, CudaTraffic,
                         testing::Combine(testing::Values(0, 1), testing::Values(1, 3)));

}  // namespace
}  // namespace brantel::test
