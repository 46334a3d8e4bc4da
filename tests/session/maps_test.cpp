// Lost tracks, frames that wait, maps that come together, and what the answers and entries say about it.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "session/opened.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 200;
constexpr std::int32_t cols = 280;

const Picture& picture() {
    static const Picture one = makePicture(Texture::fine, 1600, 2600, 1, 41);
    return one;
}

/// A session that is led over the picture, with the truth of every frame.
class Led {
  public:
    explicit Led(const brantel_settings& settings = settingsFor(rows, cols)) : session(settings) {}

    brantel_answer go(std::int32_t x, std::int32_t y) {
        truth.push_back({x, y});
        return session.add(picture().window(x, y, rows, cols));
    }
    /// The worst distance from the truth among all frames of a map, against its first one.
    std::int32_t worstError(std::int32_t map) const {
        std::int32_t worst = 0;
        std::int64_t first = -1;
        for (std::size_t i = 0; i < truth.size(); ++i) {
            const brantel_frame frame = session.frame(static_cast<std::int64_t>(i));
            if (frame.map != map || frame.state != BRANTEL_PLACED) continue;
            if (first < 0) first = static_cast<std::int64_t>(i);
            const brantel_frame base = session.frame(first);
            const Spot& from = truth[static_cast<std::size_t>(first)];
            worst = std::max({worst, std::abs(frame.x - base.x - (truth[i].x - from.x)),
                              std::abs(frame.y - base.y - (truth[i].y - from.y))});
        }
        return worst;
    }
    std::int64_t placed() const {
        std::int64_t count = 0;
        for (std::size_t i = 0; i < truth.size(); ++i)
            count += session.frame(static_cast<std::int64_t>(i)).state == BRANTEL_PLACED ? 1 : 0;
        return count;
    }

    Opened session;
    std::vector<Spot> truth;
};

TEST(SessionMaps, CoordinatesStayWhateverGrows) {
    Led led;
    const brantel_answer first = led.go(1800, 1200);
    EXPECT_EQ(first.x, 0);
    EXPECT_EQ(first.y, 0);
    EXPECT_EQ(first.found_by, BRANTEL_BY_FIRST);
    EXPECT_EQ(first.confidence, 1);
    std::vector<std::uint8_t> corner;
    for (std::int32_t i = 1; i < 16; ++i) {
        const brantel_answer answer = led.go(1800 - i * 110, 1200 - i * 70);
        ASSERT_EQ(answer.state, BRANTEL_PLACED);
        if (i == 2) corner = led.session.read(1, 0, 0, cols, rows);
    }
    EXPECT_LE(led.worstError(1), 3 * 15);
    const brantel_map map = led.session.map(1);
    EXPECT_EQ(map.frames, 16);
    EXPECT_EQ(map.x + map.width, cols);
    EXPECT_EQ(map.y + map.height, rows);
    EXPECT_EQ(led.session.read(1, 0, 0, cols, rows), corner) << "no frame came there since";
}

TEST(SessionMaps, ThePictureGrowsInAllDirectionsWithoutMovingAnything) {
    brantel_settings settings = settingsFor(100, 2500);
    Opened session(settings);
    const Picture wide = makePicture(Texture::fine, 500, 9000, 1, 5);
    const auto go = [&](std::int32_t x, std::int32_t y) { return session.add(wide.window(x, y, 100, 2500)); };
    ASSERT_EQ(go(5000, 200).state, BRANTEL_PLACED);
    const std::int32_t before = session.map(1).canvas_columns;
    brantel_answer answer{};
    for (std::int32_t x = 4000; x >= 0; x -= 1000) answer = go(x, 200);
    EXPECT_EQ(answer.state, BRANTEL_PLACED);
    EXPECT_GT(session.map(1).canvas_columns, before);
    EXPECT_NEAR(answer.x, -5000, 5);
    EXPECT_EQ(session.read(1, 2200, 0, 300, 100), wide.window(7200, 200, 100, 300))
        << "as the first frame has it";
}

TEST(SessionMaps, ALostTrackBeginsAnotherMapAndAFrameThatConnectsThemJoinsThem) {
    Led led;
    for (const std::int32_t x : {0, 110, 220}) EXPECT_EQ(led.go(x, 100).map, 1);
    const brantel_answer lost = led.go(1000, 140);
    EXPECT_EQ(lost.state, BRANTEL_WAITING);
    EXPECT_EQ(lost.reason, BRANTEL_NOTHING_JOINS);
    EXPECT_EQ(lost.map, 0);
    EXPECT_EQ(lost.placed_now, 0);
    EXPECT_EQ(lost.changed_width, 0);
    const brantel_answer second = led.go(900, 130);
    EXPECT_EQ(second.state, BRANTEL_PLACED);
    EXPECT_EQ(second.map, 2);
    EXPECT_EQ(second.placed_now, 2) << "the frame that waited, too";
    EXPECT_EQ(second.changes & BRANTEL_EARLIER_PLACED, BRANTEL_EARLIER_PLACED);
    EXPECT_EQ(led.session.frame(4).joins, 3);
    const brantel_frame waited = led.session.frame(3);
    EXPECT_EQ(waited.state, BRANTEL_PLACED);
    EXPECT_EQ(waited.found_by, BRANTEL_BY_FIRST);
    EXPECT_EQ(waited.reason, BRANTEL_NO_REASON);
    brantel_answer answer{};
    for (std::int32_t x = 800; x >= 300; x -= 100) {
        answer = led.go(x, 120);
        ASSERT_EQ(answer.state, BRANTEL_PLACED);
        if ((answer.changes & BRANTEL_MAPS_JOINED) != 0) break;
    }
    ASSERT_NE(answer.changes & BRANTEL_MAPS_JOINED, 0U);
    EXPECT_EQ(answer.map, 2) << "map 2 has more frames by now";
    const brantel_map old = led.session.map(1);
    EXPECT_EQ(old.joined_into, 2);
    EXPECT_EQ(old.frames, 0);
    EXPECT_EQ(old.width, 0);
    EXPECT_EQ(led.session.frame(0).map, 2);
    EXPECT_EQ(led.session.frame(0).x, old.joined_x);
    EXPECT_EQ(led.session.frame(0).y, old.joined_y);
    EXPECT_LE(led.worstError(2), 3 * 8);
    const brantel_map map = led.session.map(2);
    EXPECT_EQ(map.joined_into, 0);
    EXPECT_EQ(map.frames, led.placed());
    EXPECT_NEAR(map.width, 1000 + cols, 12);
    EXPECT_NEAR(map.height, 40 + rows, 12);
    EXPECT_LE(answer.changed_x, led.session.frame(0).x) << "what moved over has changed";
}

TEST(SessionMaps, TheLargerMapsPixelsStayAndTheSmallerOneFillsIn) {
    Led led;
    for (const std::int32_t x : {0, 110, 220, 330}) led.go(x, 100);
    led.go(1200, 150);
    led.go(1120, 150);
    const auto larger = led.session.picture(1);
    const brantel_map before = led.session.map(1);
    brantel_answer answer{};
    std::vector<std::uint8_t> smaller;
    brantel_frame smallerFirst{};
    for (std::int32_t x = 1020; x >= 400; x -= 100) {
        smaller = led.session.picture(2);
        smallerFirst = led.session.frame(4);
        if (led.session.map(2).frames == 4) {  // map 1 is to stay the larger one: it gets a frame, too
            break;
        }
        answer = led.go(x, 150);
    }
    // Back at map 1's end, beside map 2: frames that join both.
    for (std::int32_t x : {430, 560, 690}) {
        answer = led.go(x, 120);
        if ((answer.changes & BRANTEL_MAPS_JOINED) != 0) break;
    }
    ASSERT_NE(answer.changes & BRANTEL_MAPS_JOINED, 0U);
    ASSERT_EQ(answer.map, 1);
    EXPECT_EQ(led.session.map(2).joined_into, 1);
    EXPECT_LE(led.worstError(1), 12);
    // What no later frame has touched is as it was.
    const std::vector<std::uint8_t> now =
        led.session.read(1, before.x, before.y, before.width, before.height);
    const std::int32_t untouched = 430 - 10;
    for (std::int32_t r = 0; r < before.height; ++r)
        EXPECT_TRUE(std::equal(larger.begin() + r * before.width,
                               larger.begin() + r * before.width + untouched, now.begin() + r * before.width))
            << "row " << r;
    const brantel_frame moved = led.session.frame(4);
    const auto there = led.session.read(1, moved.x + 100, moved.y + 20, 100, 100);
    const brantel_map joined = led.session.map(2);
    EXPECT_EQ(led.session.read(2, moved.x - joined.joined_x + 100, moved.y - joined.joined_y + 20, 100, 100),
              there)
        << "a number out of use is read where it went, at its own coordinates";
    EXPECT_NE(there, std::vector<std::uint8_t>(10000, 0));
}

TEST(SessionMaps, WithoutJoiningTheyStayApart) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.join_maps = 0;
    Led led(settings);
    for (const std::int32_t x : {0, 110, 220}) led.go(x, 100);
    for (std::int32_t x = 1000; x >= 300; x -= 100) led.go(x, 140);
    EXPECT_EQ(led.session.map(1).joined_into, 0);
    EXPECT_EQ(led.session.map(2).joined_into, 0);
    EXPECT_EQ(led.session.map(1).frames, 3);
    EXPECT_EQ(led.session.map(2).frames, 8);
}

TEST(SessionMaps, AFrameThatWaitsIsPlacedWhenSomethingNearItWas) {
    Led led;
    led.go(0, 0);
    led.go(100, 0);
    EXPECT_EQ(led.go(430, 0).state, BRANTEL_WAITING)
        << "beyond what was placed, as if a frame had been dropped";
    const brantel_answer answer = led.go(260, 0);
    EXPECT_EQ(answer.state, BRANTEL_PLACED);
    EXPECT_EQ(answer.placed_now, 2);
    EXPECT_EQ(answer.map, 1);
    EXPECT_EQ(led.session.map(1).frames, 4);
    EXPECT_EQ(led.session.frame(2).joins, 3);
    EXPECT_EQ(answer.changed_width, 430 - 260 + cols) << "both";
    EXPECT_EQ(led.worstError(1), 0);
}

TEST(SessionMaps, AFrameJoinsAnEarlierOneWhenTheLastDoesNotReach) {
    for (const bool search : {true, false}) {
        brantel_settings settings = settingsFor(rows, cols);
        settings.waiting_frames = 0;
        settings.earlier_frames = search ? 6 : 0;
        Led led(settings);
        for (const std::int32_t x : {0, 120, 240, 360, 480}) led.go(x, 0);
        const brantel_answer answer = led.go(120, 110);
        EXPECT_EQ(answer.state, search ? BRANTEL_PLACED : BRANTEL_REFUSED);
        EXPECT_EQ(answer.reason, search ? BRANTEL_NO_REASON : BRANTEL_NOTHING_JOINS);
        if (search) {
            EXPECT_LE(led.worstError(1), 3);
            EXPECT_EQ(led.session.frame(5).joins, 1) << "the one that overlaps it most";
        }
    }
}

TEST(SessionMaps, FramesThatShowNothingNewAreSkippedWithTheirPlace) {
    Led led;
    led.go(300, 300);
    for (const Spot& small : {Spot{0, 0}, Spot{15, 5}, Spot{-20, -12}}) {
        const brantel_answer answer = led.go(300 + small.x, 300 + small.y);
        EXPECT_EQ(answer.state, BRANTEL_SKIPPED);
        EXPECT_EQ(answer.reason, BRANTEL_SHIFT_TOO_SMALL);
        EXPECT_EQ(answer.map, 1);
        EXPECT_NEAR(answer.x, small.x, 1);
        EXPECT_NEAR(answer.y, small.y, 1);
        EXPECT_EQ(answer.changed_width, 0);
        EXPECT_EQ(answer.placed_now, 0);
    }
    EXPECT_EQ(led.go(360, 300).state, BRANTEL_PLACED) << "measured against the frame that was placed";
    EXPECT_EQ(led.session.map(1).frames, 2);
}

TEST(SessionMaps, ARepeatedFrameDoesNotWaitTwice) {
    Led led;
    led.go(0, 0);
    EXPECT_EQ(led.go(1500, 900).state, BRANTEL_WAITING);
    const brantel_answer again = led.go(1500, 900);
    EXPECT_EQ(again.state, BRANTEL_SKIPPED);
    EXPECT_EQ(again.map, 0) << "nobody knows where";
    EXPECT_EQ(led.go(1600, 900).placed_now, 2);
}

TEST(SessionMaps, SmallOverlapsAreMergedUnlessTheSettingsForbidIt) {
    for (const bool allowed : {true, false}) {
        brantel_settings settings = settingsFor(400, 600);
        settings.small_overlaps = allowed ? 1 : 0;
        settings.waiting_frames = 0;
        Opened session(settings);
        session.add(picture().window(0, 0, 400, 600));
        const brantel_answer answer = session.add(picture().window(552, 6, 400, 600));
        EXPECT_EQ(answer.state, allowed ? BRANTEL_PLACED : BRANTEL_REFUSED);
        EXPECT_EQ(answer.reason, allowed ? BRANTEL_NO_REASON : BRANTEL_SHIFT_TOO_LARGE);
        if (allowed) {
            EXPECT_EQ(answer.found_by, BRANTEL_BY_CORRELATION) << "too thin for corners";
            EXPECT_NEAR(answer.x, 552, 1);
            EXPECT_NEAR(answer.y, 6, 1);
        }
    }
}

TEST(SessionMaps, CorrelationAloneDecidesOnlyIfItMay) {
    for (const bool trusted : {true, false}) {
        brantel_settings settings = settingsFor(rows, cols);
        settings.trust_correlation = trusted ? 1 : 0;
        settings.density_level = -5;  // no corners at all
        Led led(settings);
        led.go(0, 0);
        const brantel_answer answer = led.go(100, 20);
        EXPECT_EQ(answer.state, trusted ? BRANTEL_PLACED : BRANTEL_WAITING);
        EXPECT_EQ(answer.found_by, trusted ? BRANTEL_BY_CORRELATION : BRANTEL_NOT_FOUND);
        EXPECT_EQ(answer.matches, 0);
    }
}

TEST(SessionMaps, AHostMayBeginANewMapWhichNeverJoinsThoseBefore) {
    Led led;
    for (const std::int32_t x : {0, 100, 200}) led.go(x, 0);
    EXPECT_EQ(led.go(1200, 700).state, BRANTEL_WAITING);
    const auto before = led.session.picture(1);
    EXPECT_EQ(brantel_session_begin_map(led.session.get()), BRANTEL_OK);
    EXPECT_EQ(brantel_session_begin_map(led.session.get()), BRANTEL_OK) << "which is nothing new";
    EXPECT_EQ(led.session.frame(3).state, BRANTEL_REFUSED);
    EXPECT_EQ(led.session.frame(3).reason, BRANTEL_MAP_ENDED);
    for (const std::int32_t x : {250, 350}) {
        const brantel_answer answer = led.go(x, 0);
        EXPECT_EQ(answer.map, 2);
        EXPECT_EQ(answer.changes & BRANTEL_MAPS_JOINED, 0U);
    }
    EXPECT_EQ(led.session.frame(4).found_by, BRANTEL_BY_FIRST);
    EXPECT_EQ(led.session.picture(1), before);
    EXPECT_EQ(brantel_session_map_count(led.session.get()), 2);
}

TEST(SessionMaps, PicturesThatDoNotOverlapAreNeverJoined) {
    Led led;
    int placed = 0;
    for (std::int32_t y = 0; y + rows <= 1600; y += rows + 5)
        for (std::int32_t x = 0; x + cols <= 2600; x += cols + 5) placed += led.go(x, y).placed_now;
    EXPECT_EQ(placed, 1);
    EXPECT_EQ(brantel_session_map_count(led.session.get()), 1);
}

}  // namespace
}  // namespace brantel::test
