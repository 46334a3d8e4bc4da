// Without track keeping a session gives the bytes of the three functions for the same frames and expected shifts.
#include <opencv2/core.hpp>
#include <optional>
#include <string>

#include "session/opened.h"
#include "support/camera_path.h"
#include "support/session.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 280;

/// A stream with whatever may happen to one.
struct Stream {
    const char* name;
    std::int32_t channels;
    std::int32_t mainMode;
    std::int32_t staticFlag;
    bool expected;
    Path path;
};

void PrintTo(const Stream& stream, std::ostream* out) {
    *out << stream.name;
}

/// Out and back in both directions, with steps below a tenth, steps too far to register and a frame twice.
Path eventfulPath() {
    Path path = serpentinePath({600, 500}, 120, 90, 3, 2);
    const Spot end = path.back();
    for (const Spot& step : {Spot{10, 4}, Spot{24, 0}, Spot{24, 0}, Spot{60, -30}, Spot{700, 300},
                             Spot{-40, -80}, Spot{-120, -60}, Spot{-200, 20}, Spot{-230, -90}})
        path.push_back({end.x + step.x, end.y + step.y});
    return path;
}

class SameBytes : public testing::TestWithParam<Stream> {
  protected:
    SameBytes() : picture_(makePicture(Texture::fine, 1500, 2000, GetParam().channels, 31)) {
        SessionOptions options{rows, cols, GetParam().channels, GetParam().mainMode, GetParam().staticFlag};
        options.densityLevel = 8;
        functions_.emplace(options);
        brantel_settings settings = settingsFor(rows, cols, GetParam().channels);
        settings.acceptance = GetParam().mainMode;
        settings.strict = GetParam().staticFlag;
        settings.correlation = 0;
        session_.emplace(settings);
    }

    Frame frame(std::size_t i) const {
        Frame bytes = picture_.window(GetParam().path[i].x, GetParam().path[i].y, rows, cols);
        if (i % 3 == 2) std::fill_n(bytes.begin(), 500, std::uint8_t{0});  // empty pixels
        if (i % 4 == 3) addNoise(bytes, 6, i);
        return bytes;
    }

    /// The functions, told the shift against the frame that they placed last.
    StitchOutputs stitch(std::size_t i) {
        const Spot& to = GetParam().path[i];
        const Spot& from = GetParam().path[last_];
        const std::int32_t x = to.x - from.x + 3;
        const std::int32_t y = to.y - from.y - 2;
        if (GetParam().expected) functions_->expect(x, x < 0 ? -y : y);
        Frame first = frame(0);
        return begun_ ? functions_->next(frame(i)) : functions_->start(first, frame(i));
    }

    /// The session, told positions whose differences are these shifts.
    brantel_answer add(std::size_t i) {
        const Spot& to = GetParam().path[i];
        if (!GetParam().expected) return session_->add(frame(i));
        // A position of its own for each step: 3 and 2 pixels off against the last one placed.
        given_[i] = {to.x - GetParam().path[last_].x + given_[last_].x + (i == 0 ? 0 : 3),
                     to.y - GetParam().path[last_].y + given_[last_].y - (i == 0 ? 0 : 2)};
        return session_->add(frame(i), at(given_[i].x, given_[i].y));
    }

    void compare(const StitchOutputs& out, const brantel_answer& answer) {
        const brantel_frame placed = session_->frame(static_cast<std::int64_t>(last_));
        const brantel_map map = session_->map(answer.map == 0 ? placed.map : answer.map);
        const cv::Rect where(out.flags.frameX - placed.x + map.x, out.flags.frameY - placed.y + map.y,
                             map.width, map.height);
        const cv::Mat canvas = out.mosaic(where).clone();
        const std::vector<std::uint8_t> expected(canvas.datastart, canvas.dataend);
        EXPECT_EQ(session_->picture(placed.map), expected);
        EXPECT_EQ(map.canvas_columns, out.mosaic.cols);
        EXPECT_EQ(map.canvas_rows, out.mosaic.rows);
    }

    Picture picture_;
    std::optional<Session> functions_;
    std::optional<Opened> session_;
    Spot given_[64] = {};
    std::size_t last_ = 0;
    bool begun_ = false;
    StitchOutputs before_;
};

TEST_P(SameBytes, AsTheThreeFunctions) {
    EXPECT_EQ(add(0).found_by, BRANTEL_BY_FIRST);
    int states[5] = {};
    for (std::size_t i = 1; i < GetParam().path.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        const StitchOutputs before = before_;
        const StitchOutputs out = stitch(i);
        const brantel_answer answer = add(i);
        ++states[answer.state];
        begun_ = begun_ || out.result != -1;
        const bool moved = out.flags.frameX != before.flags.frameX || out.flags.frameY != before.flags.frameY;
        const bool merged = out.result != -1 && (i == 1 || moved) && out.flags.stitch_flags == 1;
        ASSERT_EQ(answer.state == BRANTEL_PLACED, merged) << brantel_reason_text(answer.reason);
        if (answer.state != BRANTEL_REFUSED) {
            EXPECT_EQ(answer.matches, out.flags.matchCount);
        }
        if (merged) last_ = i;
        before_ = out;
        compare(out, answer);
        if (HasFailure()) return;
    }
    EXPECT_GE(states[BRANTEL_PLACED], 8);
    EXPECT_GE(states[BRANTEL_SKIPPED], 2);
    EXPECT_GE(states[BRANTEL_REFUSED], 1);
}

const Stream streams[] = {{"GreyMotion", 1, 1, 0, false, eventfulPath()},
                          {"GreyBrightness", 1, 0, 0, false, eventfulPath()},
                          {"ColourBrightnessStrict", 3, 0, 1, false, eventfulPath()},
                          {"ColourMotionExpected", 3, 1, 0, true, eventfulPath()},
                          {"GreyBrightnessExpected", 1, 0, 0, true, eventfulPath()}};

INSTANTIATE_TEST_SUITE_P(Streams, SameBytes, testing::ValuesIn(streams),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace brantel::test
