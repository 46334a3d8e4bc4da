// Grey images with a zeroed row behind them.
#include "compose/grey.h"

#include <algorithm>

#include "reference/image_ops.h"
#include "support/at_level.h"
#include "support/idle_workers.h"
#include "support/rows.h"

namespace brantel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class GreyImages : public AtLevel {};

TEST_P(GreyImages, AreTheReferencesWithAZeroedRowBehindThem) {
    IdleWorkers workers;
    Buffer<std::uint8_t> grey;  // kept, with what a larger frame left where the zeroed row has to be
    makeGrey(Bytes(200 * 200, 99).data(), {0, 1, 200, 200}, grey, nullptr);
    std::uint64_t seed = 1;
    for (const std::int32_t channels : {1, 3})
        for (const auto& [rows, cols] :
             {std::pair{1, 1}, {3, 3}, {4, 9}, {33, 64}, {31, 131}, {100, 7}, {150, 97}}) {
            const ImageDesc desc{0, channels, rows, cols};
            const Bytes samples = randomBytes(desc.bytes(), seed++);
            const auto frame = placed(samples, places[seed % 6]);
            makeGrey(frame->data(), desc, grey, seed % 2 == 0 ? workers.pair() : nullptr);
            Bytes expected = samples;
            if (channels == 3) {
                expected.resize(static_cast<std::size_t>(desc.pixels()));
                reference::rgb2gray(toOutput(), samples.data(), rows, cols, expected.data());
            }
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), grey.data()));
            EXPECT_EQ(std::count(grey.data() + desc.pixels(), grey.data() + desc.pixels() + cols, 0), cols);
        }
}

BRANTEL_AT_EVERY_LEVEL(GreyImages);

}  // namespace
}  // namespace brantel::test
