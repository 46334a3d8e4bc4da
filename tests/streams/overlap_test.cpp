// From thin to thick overlaps along each axis: right or refused, never wrong.
#include <gtest/gtest.h>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 480;
constexpr std::int32_t cols = 640;

using Case = std::tuple<Texture, bool, int>;  // texture, along columns, per cent of overlap

class Overlap : public testing::TestWithParam<Case> {};
INSTANTIATE_TEST_SUITE_P(Streams, Overlap,
                         testing::Combine(testing::Values(Texture::fine, Texture::grains, Texture::grid),
                                          testing::Bool(), testing::Values(25, 35, 45, 55, 65, 75, 85)),
                         [](const auto& info) {
                             return nameOf(std::get<0>(info.param)) +
                                    (std::get<1>(info.param) ? "Columns" : "Rows") +
                                    std::to_string(std::get<2>(info.param));
                         });

TEST_P(Overlap, IsRightOrRefused) {
    const auto [texture, alongColumns, percent] = GetParam();
    const std::int32_t side = alongColumns ? cols : rows;
    const std::int32_t step = side * (100 - percent) / 200 * 2;
    constexpr std::int32_t count = 4;
    const Picture picture = makePicture(texture, rows + (alongColumns ? 0 : count * step),
                                        cols + (alongColumns ? count * step : 0), 1, 61);
    Session session({rows, cols, 1, 1, 0, 8});
    const Path path = straightPath({0, 0}, alongColumns ? step : 0, alongColumns ? 0 : step, count);
    const FollowReport report = follow(session, picture, path, rows, cols);
    EXPECT_EQ(report.wrong, 0) << report.summary();
    if (percent >= 45) {
        EXPECT_EQ(report.placed, count + 1) << report.summary();
    }
}

}  // namespace
}  // namespace brantel::test
