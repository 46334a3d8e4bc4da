// A hundred sessions one after the other leave nothing behind.
#include "session/opened.h"
#include "support/left_behind.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;

/// A life with everything in it: maps, a lost frame, frames that wait until the end.
void live(const Picture& picture) {
    brantel_settings settings = settingsFor(rows, cols);
    Opened session(settings);
    for (const std::int32_t x : {0, 70, 140, 600, 530, 210}) session.add(picture.window(x, 10, rows, cols));
    EXPECT_EQ(session.map(1).frames, 4);
    EXPECT_EQ(session.map(2).frames, 2);
    session.add(picture.window(620, 270, rows, cols));
    session.picture(1);
    EXPECT_EQ(brantel_session_begin_map(session.get()), BRANTEL_OK);
    session.add(picture.window(0, 0, rows, cols));
}

TEST(SessionCycles, LeaveNothingBehind) {
    const Picture picture = makePicture(Texture::fine, 400, 800, 1, 23);
    expectNothingLeftBehind([&] { live(picture); });
}

}  // namespace
}  // namespace brantel::test
