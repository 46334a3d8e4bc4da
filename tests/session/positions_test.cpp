// Positions that a host gives: a help where they are right, distrusted where they are wrong, used alone if asked for.
#include <algorithm>
#include <string>

#include "session/opened.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

const Picture& picture() {
    static const Picture one = makePicture(Texture::fine, 900, 1300, 1, 77);
    return one;
}

std::vector<std::uint8_t> frameAt(std::int32_t x, std::int32_t y) {
    return picture().window(x, y, rows, cols);
}

/// Nothing to be seen but a little noise of its own.
std::vector<std::uint8_t> blank(std::uint64_t seed) {
    std::vector<std::uint8_t> frame(std::size_t{rows} * cols, 120);
    addNoise(frame, 2, seed);
    return frame;
}

TEST(SessionPositions, OnlyDifferencesCount) {
    for (const double origin : {0.0, -4e5, 1e8}) {
        Opened session(settingsFor(rows, cols));
        session.add(frameAt(0, 0), at(origin, origin));
        const brantel_answer answer = session.add(frameAt(130, 40), at(origin + 133, origin + 38, 20));
        EXPECT_EQ(answer.state, BRANTEL_PLACED);
        EXPECT_NEAR(answer.x, 130, 2);
        EXPECT_NEAR(answer.y, 40, 2);
        EXPECT_EQ(answer.changes & BRANTEL_POSITION_CONTRADICTED, 0U);
    }
}

TEST(SessionPositions, AWrongOneIsContradictedByThePictures) {
    for (const double wrong : {-130.0, 280.0, 5000.0}) {
        Opened session(settingsFor(rows, cols));
        session.add(frameAt(400, 0), at(0, 0));
        const brantel_answer answer = session.add(frameAt(530, 40), at(wrong, 0, 15));
        EXPECT_EQ(answer.state, BRANTEL_PLACED) << wrong;
        EXPECT_NEAR(answer.x, 130, 2);
        EXPECT_NEAR(answer.y, 40, 2);
        EXPECT_EQ(answer.changes & BRANTEL_POSITION_CONTRADICTED,
                  std::uint32_t{BRANTEL_POSITION_CONTRADICTED});
    }
}

TEST(SessionPositions, LeadToAnEarlierFrameFarFromTheLastOne) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.earlier_frames = 1;
    Opened session(settings);
    for (std::int32_t x = 0; x <= 900; x += 150) session.add(frameAt(x, 0), at(x + 2, -1));
    const brantel_answer answer = session.add(frameAt(10, 150), at(9, 152));
    EXPECT_EQ(answer.state, BRANTEL_PLACED);
    EXPECT_EQ(session.frame(7).joins, 0);
    EXPECT_NEAR(answer.x, 10, 3);
    EXPECT_NEAR(answer.y, 150, 3);
}

TEST(SessionPositions, ArePutInThePicturesPlaceOnlyIfAskedFor) {
    for (const bool trusted : {false, true}) {
        brantel_settings settings = settingsFor(rows, cols);
        settings.trust_positions = trusted ? 1 : 0;
        Opened session(settings);
        session.add(frameAt(0, 0), at(0, 0));
        const brantel_answer answer = session.add(blank(1), at(160.4, -19.6, 4));
        EXPECT_EQ(answer.state, trusted ? BRANTEL_PLACED : BRANTEL_WAITING);
        if (!trusted) continue;
        EXPECT_EQ(answer.found_by, BRANTEL_BY_POSITION);
        EXPECT_EQ(answer.x, 160);
        EXPECT_EQ(answer.y, -20);
        EXPECT_EQ(answer.confidence, 0);
        EXPECT_EQ(answer.matches, 0);
        EXPECT_EQ(session.add(blank(2), at(5000, 0, 4)).state, BRANTEL_WAITING) << "beside nothing";
        EXPECT_EQ(session.add(blank(3)).state, BRANTEL_WAITING) << "no word of the host";
        EXPECT_EQ(session.add(blank(4), at(165, -10, 4)).state, BRANTEL_SKIPPED);
    }
}

/// The same bar in the same place of every frame, as electron microscopes burn it in.
std::vector<std::uint8_t> withBar(std::vector<std::uint8_t> frame) {
    for (std::int32_t r = 212; r < 234; ++r)
        for (std::int32_t c = 180; c < 312; ++c) {
            const bool bar = r > 226 && c > 190 && c < 300;
            const bool letter = r < 224 && (c / 5 + r / 4) % 3 == 0;
            frame[static_cast<std::size_t>(r * cols + c)] = bar || letter ? 250 : 5;
        }
    return frame;
}

TEST(SessionPositions, ABurntInBarDoesNotHoldTheCameraInPlace) {
    Opened session(settingsFor(rows, cols));
    session.add(withBar(blank(5)), at(0, 0));
    const brantel_answer answer = session.add(withBar(blank(6)), at(150, 0, 160));
    EXPECT_FALSE(answer.state == BRANTEL_PLACED && std::abs(answer.x) < 100) << answer.x << ", " << answer.y;
    Opened structured(settingsFor(rows, cols));
    structured.add(withBar(frameAt(0, 0)), at(0, 0));
    const brantel_answer right = structured.add(withBar(frameAt(150, 6)), at(152, 5, 10));
    EXPECT_EQ(right.state, BRANTEL_PLACED);
    EXPECT_NEAR(right.x, 150, 3);
    EXPECT_NEAR(right.y, 6, 3);
}

TEST(SessionPositions, WithoutTrackKeepingAreWhatTheFunctionsAreTold) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.correlation = 0;
    Opened session(settings);
    session.add(frameAt(400, 100), at(10, 10));
    EXPECT_EQ(session.add(frameAt(500, 130), at(112.4, 37.5)).state, BRANTEL_PLACED);
    const brantel_answer off = session.add(frameAt(600, 160), at(-150, 300));
    EXPECT_EQ(off.state, BRANTEL_REFUSED) << "looked for corners where the host said";
    const brantel_answer beyond = session.add(frameAt(600, 160), at(1e9, -1e9));
    EXPECT_EQ(beyond.state, BRANTEL_REFUSED);
    EXPECT_EQ(beyond.reason, BRANTEL_TOO_FEW_CORNERS);
}

TEST(SessionPositions, WithoutTrackKeepingAVagueOneIsOnlyRemembered) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.correlation = 0;
    Opened session(settings);
    session.add(frameAt(400, 100), at(10, 10));
    EXPECT_EQ(session.add(frameAt(500, 130), at(-150, 300, cols - 1)).state, BRANTEL_REFUSED);
    EXPECT_EQ(session.add(frameAt(500, 130), at(112.4, 37.5, cols)).state, BRANTEL_PLACED)
        << "by whole frames";
    EXPECT_EQ(session.add(frameAt(600, 160), at(-37.6, 337.5)).state, BRANTEL_REFUSED)
        << "looked for against the place that was remembered";
    EXPECT_EQ(session.add(frameAt(600, 160), at(213, 68)).state, BRANTEL_PLACED);
}

}  // namespace
}  // namespace brantel::test
