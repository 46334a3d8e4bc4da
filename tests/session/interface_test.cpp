// The C interface with arguments that no sensible host passes, and what it promises about structs, strides and texts.
#include <algorithm>
#include <iterator>
#include <limits>
#include <string>

#include "session/opened.h"
#include "support/output_capture.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;

const Picture& picture() {
    static const Picture one = makePicture(Texture::fine, 400, 600, 1, 9);
    return one;
}

std::vector<std::uint8_t> frameAt(std::int32_t x, std::int32_t y) {
    return picture().window(x, y, rows, cols);
}

brantel_status open(const brantel_settings& settings) {
    auto* session = reinterpret_cast<brantel_session*>(&const_cast<brantel_settings&>(settings));
    const brantel_status status = brantel_session_open(&settings, &session);
    EXPECT_EQ(status == BRANTEL_OK, session != nullptr) << "the pointer is always written";
    brantel_session_close(session);
    return status;
}

TEST(SessionInterface, ItsTextsNameEveryValue) {
    for (std::int32_t i = 0; i <= BRANTEL_INTERNAL_ERROR; ++i)
        EXPECT_STRNE(brantel_status_text(i), "unknown") << i;
    for (std::int32_t i = BRANTEL_PLACED; i <= BRANTEL_REFUSED; ++i)
        EXPECT_STRNE(brantel_state_text(i), "unknown") << i;
    for (std::int32_t i = 0; i <= BRANTEL_MAP_ENDED; ++i)
        EXPECT_STRNE(brantel_reason_text(i), "unknown") << i;
    for (std::int32_t i = 0; i <= BRANTEL_BY_POSITION; ++i)
        EXPECT_STRNE(brantel_found_by_text(i), "unknown") << i;
    for (const std::int32_t wrong : {-1, 1000, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_STREQ(brantel_status_text(wrong), "unknown");
        EXPECT_STREQ(brantel_state_text(wrong), "unknown");
        EXPECT_STREQ(brantel_reason_text(wrong), "unknown");
        EXPECT_STREQ(brantel_found_by_text(wrong), "unknown");
    }
    EXPECT_STREQ(brantel_version(), BRANTEL_VERSION);
}

TEST(SessionInterface, SettingsOutOfTheirRangesAreRefused) {
    const brantel_settings good = settingsFor(rows, cols);
    EXPECT_EQ(open(good), BRANTEL_OK);
    const auto with = [&](auto field, auto value) {
        brantel_settings settings = good;
        settings.*field = value;
        return open(settings);
    };
    for (const std::int32_t wrong : {0, -5}) {
        EXPECT_EQ(with(&brantel_settings::rows, wrong), BRANTEL_BAD_FRAME_SIZE);
        EXPECT_EQ(with(&brantel_settings::columns, wrong), BRANTEL_BAD_FRAME_SIZE);
    }
    EXPECT_EQ(with(&brantel_settings::rows, std::numeric_limits<std::int32_t>::max()),
              BRANTEL_BAD_FRAME_SIZE);
    for (const std::int32_t wrong : {-1, 0, 2, 4}) {
        EXPECT_EQ(with(&brantel_settings::channels, wrong), BRANTEL_BAD_FRAME_SIZE);
    }
    EXPECT_EQ(with(&brantel_settings::stride, std::int64_t{cols - 1}), BRANTEL_BAD_STRIDE);
    EXPECT_EQ(with(&brantel_settings::stride, std::int64_t{1 - cols}), BRANTEL_BAD_STRIDE);
    EXPECT_EQ(with(&brantel_settings::density_level, 201), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::density_level, -101), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::acceptance, 2), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::acceptance, -1), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::earlier_frames, -1), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::waiting_frames, 10001), BRANTEL_BAD_SETTING);
    EXPECT_EQ(with(&brantel_settings::memory, std::int64_t{-1}), BRANTEL_BAD_SETTING);
}

TEST(SessionInterface, NullPointersAreRefused) {
    Opened session(settingsFor(rows, cols));
    brantel_session* none = nullptr;
    const brantel_settings settings = settingsFor(rows, cols);
    EXPECT_EQ(brantel_default_settings(nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_open(nullptr, &none), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_open(&settings, nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_add(nullptr, frameAt(0, 0).data(), nullptr, nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_add(session.get(), nullptr, nullptr, nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_STREQ(brantel_session_error(session.get()), brantel_status_text(BRANTEL_NULL_ARGUMENT));
    EXPECT_EQ(brantel_session_begin_map(nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_frame_count(nullptr), 0);
    EXPECT_STREQ(brantel_session_error(session.get()), brantel_status_text(BRANTEL_NULL_ARGUMENT))
        << "a call on no session leaves the others alone";
    EXPECT_EQ(brantel_session_map_count(nullptr), 0);
    session.add(frameAt(0, 0));
    EXPECT_STREQ(brantel_session_error(session.get()), "");
    EXPECT_EQ(brantel_session_frame(session.get(), 0, nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_map(session.get(), 1, nullptr), BRANTEL_NULL_ARGUMENT);
    EXPECT_EQ(brantel_session_read(session.get(), 1, 0, 0, 1, 1, 1, nullptr, 0), BRANTEL_NULL_ARGUMENT);
    EXPECT_STRNE(brantel_session_error(nullptr), "");
    brantel_session_close(nullptr);
    EXPECT_EQ(brantel_session_frame_count(session.get()), 1);
    EXPECT_EQ(brantel_session_map_count(session.get()), 1);
}

TEST(SessionInterface, FramesAndMapsThatAreNotThereAreNamed) {
    Opened session(settingsFor(rows, cols));
    brantel_frame frame{};
    frame.size = sizeof frame;
    brantel_map map{};
    map.size = sizeof map;
    std::uint8_t pixel = 7;
    const auto frameStatus = [&](std::int64_t index) {
        return brantel_session_frame(session.get(), index, &frame);
    };
    const auto mapStatus = [&](std::int32_t number) {
        return brantel_session_map(session.get(), number, &map);
    };
    EXPECT_EQ(frameStatus(0), BRANTEL_NO_SUCH_FRAME);
    EXPECT_EQ(mapStatus(1), BRANTEL_NO_SUCH_MAP);
    session.add(frameAt(0, 0));
    EXPECT_EQ(frameStatus(-1), BRANTEL_NO_SUCH_FRAME);
    EXPECT_EQ(frameStatus(1), BRANTEL_NO_SUCH_FRAME);
    EXPECT_EQ(frameStatus(std::numeric_limits<std::int64_t>::max()), BRANTEL_NO_SUCH_FRAME);
    EXPECT_EQ(mapStatus(0), BRANTEL_NO_SUCH_MAP);
    EXPECT_EQ(mapStatus(2), BRANTEL_NO_SUCH_MAP);
    const auto readStatus = [&](std::int32_t number, std::int32_t width, std::int32_t height,
                                std::int32_t reduction, std::int64_t stride) {
        return brantel_session_read(session.get(), number, 0, 0, width, height, reduction, &pixel, stride);
    };
    EXPECT_EQ(readStatus(2, 1, 1, 1, 0), BRANTEL_NO_SUCH_MAP);
    EXPECT_EQ(readStatus(1, 0, 1, 1, 0), BRANTEL_BAD_RECTANGLE);
    EXPECT_EQ(readStatus(1, 1, -1, 1, 0), BRANTEL_BAD_RECTANGLE);
    EXPECT_EQ(readStatus(1, 1000001, 1, 1, 0), BRANTEL_BAD_RECTANGLE);
    for (const std::int32_t wrong : {0, 3, -2, 2048})
        EXPECT_EQ(readStatus(1, 1, 1, wrong, 0), BRANTEL_BAD_REDUCTION);
    EXPECT_EQ(readStatus(1, 4, 1, 1, 3), BRANTEL_BAD_STRIDE);
    EXPECT_EQ(pixel, 7) << "what is refused writes nothing";
}

TEST(SessionInterface, PositionsMustBeNumbersInTheirRange) {
    Opened session(settingsFor(rows, cols));
    const auto frame = frameAt(0, 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const brantel_input& wrong :
         {at(nan, 0), at(0, nan), at(0, 0, nan), at(infinite, 0), at(0, -infinite), at(2e9, 0), at(0, 0, -1)})
        EXPECT_EQ(brantel_session_add(session.get(), frame.data(), &wrong, nullptr), BRANTEL_BAD_POSITION);
    EXPECT_EQ(brantel_session_frame_count(session.get()), 0) << "none of them was added";
    brantel_input unused = at(nan, nan, nan);
    unused.has_position = 0;
    EXPECT_EQ(brantel_session_add(session.get(), frame.data(), &unused, nullptr), BRANTEL_OK);
}

/// A struct in the middle of guard bytes, as a caller with another header would pass it.
template <class T>
struct Guarded {
    T value{};
    unsigned char behind[32];

    explicit Guarded(std::uint32_t size) {
        std::fill(std::begin(behind), std::end(behind), std::uint8_t{0xA5});
        value.size = size;
    }
    bool untouched(std::size_t from) const {
        return std::all_of(behind + from, std::end(behind), [](unsigned char byte) { return byte == 0xA5; });
    }
};

TEST(SessionInterface, StructsOfOlderAndNewerHeadersAreToldByTheirSize) {
    Opened session(settingsFor(rows, cols));
    const auto frame = frameAt(0, 0);
    for (const std::uint32_t tooSmall : {0U, 4U, static_cast<std::uint32_t>(sizeof(brantel_answer) - 1)}) {
        Guarded<brantel_answer> answer(tooSmall);
        EXPECT_EQ(brantel_session_add(session.get(), frame.data(), nullptr, &answer.value),
                  BRANTEL_BAD_STRUCT_SIZE);
        EXPECT_EQ(answer.value.size, tooSmall);
        EXPECT_TRUE(answer.untouched(0));
    }
    Guarded<brantel_answer> newer(sizeof(brantel_answer) + 8);
    EXPECT_EQ(brantel_session_add(session.get(), frame.data(), nullptr, &newer.value), BRANTEL_OK);
    EXPECT_EQ(newer.value.size, sizeof(brantel_answer) + 8);
    EXPECT_EQ(newer.value.state, BRANTEL_PLACED);
    EXPECT_TRUE(std::all_of(newer.behind, newer.behind + 8, [](unsigned char byte) { return byte == 0; }))
        << "fields that are not known are 0";
    EXPECT_TRUE(newer.untouched(8));
    Guarded<brantel_frame> entry(sizeof(brantel_frame));
    EXPECT_EQ(brantel_session_frame(session.get(), 0, &entry.value), BRANTEL_OK);
    EXPECT_TRUE(entry.untouched(0));
}

TEST(SessionInterface, FieldsThatAreNotKnownMustBeZero) {
    Guarded<brantel_settings> settings(sizeof(brantel_settings));
    EXPECT_EQ(brantel_default_settings(&settings.value), BRANTEL_OK);
    EXPECT_TRUE(settings.untouched(0));
    settings.value.rows = rows;
    settings.value.columns = cols;
    settings.value.channels = 1;
    settings.value.size = sizeof(brantel_settings) + 8;
    EXPECT_EQ(open(settings.value), BRANTEL_BAD_STRUCT_SIZE);
    std::fill(settings.behind, settings.behind + 8, std::uint8_t{0});
    EXPECT_EQ(open(settings.value), BRANTEL_OK);
    settings.value.size = sizeof(brantel_settings) - 1;
    EXPECT_EQ(open(settings.value), BRANTEL_BAD_STRUCT_SIZE);
    EXPECT_EQ(brantel_default_settings(&settings.value), BRANTEL_BAD_STRUCT_SIZE);
    brantel_input input = nothingKnown();
    input.size = 8;
    Opened session(settingsFor(rows, cols));
    EXPECT_EQ(brantel_session_add(session.get(), frameAt(0, 0).data(), &input, nullptr),
              BRANTEL_BAD_STRUCT_SIZE);
}

/// The frame in rows of some stride, with other bytes between them.
std::vector<std::uint8_t> spread(const std::vector<std::uint8_t>& frame, std::int64_t stride, bool bottomUp) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(stride) * rows, 0x5A);
    for (std::int64_t r = 0; r < rows; ++r)
        std::copy_n(frame.data() + r * cols, cols, bytes.data() + (bottomUp ? rows - 1 - r : r) * stride);
    return bytes;
}

TEST(SessionInterface, FramesOfAnyStrideGiveTheSameBytesAndStayAsTheyWere) {
    const std::int32_t shift = 40;
    std::vector<std::uint8_t> expected;
    for (const std::int64_t stride : {cols, cols + 1, 3 * cols})
        for (const bool bottomUp : {false, true}) {
            Opened session(settingsFor(rows, cols));
            for (int i = 0; i < 3; ++i) {
                const auto bytes = spread(frameAt(i * shift, 8 * i), stride, bottomUp);
                const auto before = bytes;
                brantel_input input = nothingKnown();
                input.stride = bottomUp ? -stride : stride;
                const std::uint8_t* first = bytes.data() + (bottomUp ? (rows - 1) * stride : 0);
                EXPECT_EQ(brantel_session_add(session.get(), first, &input, nullptr), BRANTEL_OK);
                EXPECT_EQ(bytes, before);
            }
            EXPECT_EQ(session.map(1).frames, 3);
            if (expected.empty()) expected = session.picture(1);
            EXPECT_EQ(session.picture(1), expected) << stride << (bottomUp ? " bottom up" : "");
        }
}

TEST(SessionInterface, TheSettingsStrideHoldsWhereAFrameNamesNone) {
    brantel_settings settings = settingsFor(rows, cols);
    settings.stride = cols + 7;
    Opened session(settings);
    const auto bytes = spread(frameAt(0, 0), cols + 7, false);
    EXPECT_EQ(session.add(bytes).state, BRANTEL_PLACED);
    EXPECT_EQ(session.picture(1), frameAt(0, 0));
    brantel_input input = nothingKnown();
    input.stride = cols - 1;
    EXPECT_EQ(brantel_session_add(session.get(), bytes.data(), &input, nullptr), BRANTEL_BAD_STRIDE);
}

struct Listener {
    std::vector<std::string> lines;
    brantel_session* session = nullptr;
    brantel_status inside = BRANTEL_OK;

    static void hear(void* user, const char* line) {
        auto& listener = *static_cast<Listener*>(user);
        listener.lines.emplace_back(line);
        if (listener.session != nullptr) listener.inside = brantel_session_begin_map(listener.session);
    }
};

TEST(SessionInterface, LinesGoToTheCallbackAndNowhereElse) {
    Listener listener;
    const std::string output = captureOutput([&] {
        brantel_settings settings = settingsFor(rows, cols);
        settings.on_line = &Listener::hear;
        settings.user = &listener;
        Opened session(settings);
        session.add(frameAt(0, 0));
        EXPECT_TRUE(listener.lines.empty() || listener.lines.back().find('\n') == std::string::npos);
        listener.lines.clear();
        listener.session = session.get();
        session.add(frameAt(40, 8));
        listener.session = nullptr;
        EXPECT_EQ(session.map(1).frames, 2);
        Opened silent(settingsFor(rows, cols));
        silent.add(frameAt(0, 0));
        silent.add(frameAt(40, 8));
    });
    EXPECT_EQ(output, "");
    EXPECT_FALSE(listener.lines.empty());
    EXPECT_EQ(listener.inside, BRANTEL_IN_USE) << "a callback must not call its session";
}

}  // namespace
}  // namespace brantel::test
