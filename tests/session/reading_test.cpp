// Reading maps: as they are, reduced, beyond their edges, into rows of any stride.
#include <algorithm>
#include <string>

#include "session/opened.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 150;
constexpr std::int32_t cols = 220;

/// Two frames side by side with a step, so that the map's rectangle has empty corners; and pixels that are empty.
std::vector<std::uint8_t> frameAt(std::int32_t channels, std::int32_t x, std::int32_t y) {
    static const Picture pictures[] = {makePicture(Texture::fine, 400, 600, 1, 3),
                                       makePicture(Texture::fine, 400, 600, 3, 3)};
    auto frame = pictures[channels == 3 ? 1 : 0].window(x, y, rows, cols);
    for (std::int32_t i = 60; i < 70; ++i)
        std::fill_n(frame.begin() + (i * cols + 150) * channels, 20 * channels, std::uint8_t{0});
    return frame;
}

/// What a result sample is, worked out pixel by pixel.
std::uint8_t meanOf(const std::vector<std::uint8_t>& whole, std::int32_t width, std::int32_t height,
                    std::int32_t channels, std::int32_t x, std::int32_t y, std::int32_t reduction,
                    std::int32_t channel) {
    std::int64_t sum = 0;
    std::int64_t painted = 0;
    for (std::int32_t r = y; r < y + reduction; ++r)
        for (std::int32_t c = x; c < x + reduction; ++c) {
            if (r < 0 || c < 0 || r >= height || c >= width) continue;
            const std::uint8_t* pixel = whole.data() + (r * width + c) * channels;
            if (std::all_of(pixel, pixel + channels, [](std::uint8_t sample) { return sample == 0; }))
                continue;
            ++painted;
            sum += pixel[channel];
        }
    return painted == 0 ? 0 : static_cast<std::uint8_t>((sum + sum + painted) / (painted + painted));
}

class Reading : public testing::TestWithParam<std::int32_t> {
  protected:
    Reading() : session_(settingsFor(rows, cols, GetParam())) {
        EXPECT_EQ(session_.add(frameAt(GetParam(), 100, 100)).state, BRANTEL_PLACED);
        EXPECT_EQ(session_.add(frameAt(GetParam(), 40, 51)).state, BRANTEL_PLACED);
        map_ = session_.map(1);
        whole_ = session_.picture(1);
    }

    Opened session_;
    brantel_map map_{};
    std::vector<std::uint8_t> whole_;
};

TEST_P(Reading, AReductionIsTheMeanOfWhatIsPaintedHalfUp) {
    const std::int32_t channels = GetParam();
    EXPECT_LT(map_.x, 0);
    EXPECT_TRUE(std::any_of(whole_.begin(), whole_.end(), [](std::uint8_t sample) { return sample == 0; }));
    for (const std::int32_t reduction : {1, 2, 4, 8, 64, 1024})
        for (const std::int32_t shift : {-5, 0, 3}) {
            SCOPED_TRACE(std::to_string(reduction) + " from " + std::to_string(shift));
            const std::int32_t width = map_.width / reduction + 3;
            const std::int32_t height = map_.height / reduction + 3;
            const auto part = session_.read(1, map_.x + shift, map_.y + shift, width, height, reduction);
            bool equal = true;
            for (std::int32_t r = 0; r < height; ++r)
                for (std::int32_t c = 0; c < width; ++c)
                    for (std::int32_t k = 0; k < channels; ++k)
                        equal =
                            equal && part[static_cast<std::size_t>((r * width + c) * channels + k)] ==
                                         meanOf(whole_, map_.width, map_.height, channels,
                                                shift + c * reduction, shift + r * reduction, reduction, k);
            EXPECT_TRUE(equal);
        }
}

TEST_P(Reading, BeyondTheMapEverythingIsEmpty) {
    constexpr std::int32_t far = 2147483000;
    for (const std::int32_t reduction : {1, 4, 1024})
        for (const auto& [x, y] : {std::pair{far, 0}, {-far, 0}, {0, far}, {far, -far}}) {
            const auto part = session_.read(1, x, y, 30, 20, reduction);
            EXPECT_TRUE(
                std::all_of(part.begin(), part.end(), [](std::uint8_t sample) { return sample == 0; }));
        }
}

TEST_P(Reading, RowsOfAnyStrideAreFilledAndNothingBetweenThem) {
    const std::int32_t channels = GetParam();
    constexpr std::int32_t width = 30;
    constexpr std::int32_t height = 20;
    for (const std::int32_t reduction : {1, 2}) {
        const auto packed = session_.read(1, 10, 10, width, height, reduction);
        const std::int64_t line = std::int64_t{width} * channels;
        for (const std::int64_t stride : {line + 9, -(line + 9)}) {
            const std::int64_t apart = line + 9;
            std::vector<std::uint8_t> bytes(static_cast<std::size_t>(apart * height), 0xC3);
            std::uint8_t* first = bytes.data() + (stride < 0 ? (height - 1) * apart : 0);
            ASSERT_EQ(
                brantel_session_read(session_.get(), 1, 10, 10, width, height, reduction, first, stride),
                BRANTEL_OK);
            for (std::int64_t r = 0; r < height; ++r) {
                const std::uint8_t* row = first + r * stride;
                EXPECT_TRUE(std::equal(row, row + line, packed.begin() + r * line)) << "row " << r;
                const std::uint8_t* gap = std::min(row, row) + line;
                EXPECT_TRUE(std::all_of(gap, gap + 9, [](std::uint8_t byte) { return byte == 0xC3; }));
            }
        }
    }
}

TEST(ReadingMaps, AFirstFramesZerosAreRaisedAndOthersAreNot) {
    Opened session(settingsFor(rows, cols));
    std::vector<std::uint8_t> frame = frameAt(1, 0, 0);
    const auto before = frame;
    session.add(frame);
    EXPECT_EQ(frame, before);
    std::replace(frame.begin(), frame.end(), std::uint8_t{0}, std::uint8_t{1});
    EXPECT_EQ(session.picture(1), frame);
}

INSTANTIATE_TEST_SUITE_P(Channels, Reading, testing::Values(1, 3));

}  // namespace
}  // namespace brantel::test
