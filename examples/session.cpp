// A session in C++: a camera wanders over a picture; each frame's place is printed.
#include <brantel/session.h>

#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

namespace {
constexpr int columns = 240, rows = 180, width = 700, height = 400;

void require(brantel_status status) {
    if (status != BRANTEL_OK) throw std::runtime_error(brantel_status_text(status));
}

struct Close {
    void operator()(brantel_session* session) const { brantel_session_close(session); }
};

std::unique_ptr<brantel_session, Close> open() {
    brantel_settings settings{};
    settings.size = sizeof settings;
    require(brantel_default_settings(&settings));
    settings.columns = columns;
    settings.rows = rows;
    settings.channels = 1;
    settings.stride = width;  // frames are windows of the picture
    brantel_session* session = nullptr;
    require(brantel_session_open(&settings, &session));
    return std::unique_ptr<brantel_session, Close>(session);
}

}  // namespace

int main() try {
    std::vector<unsigned char> picture(width * height);
    std::mt19937 random(7);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)  // squares of 4 x 4 pixels
            picture[y * width + x] =
                x % 4 || y % 4 ? picture[(y - y % 4) * width + x - x % 4] : 20 + random() % 220;
    const auto session = open();
    for (int i = 0; i < 8; ++i) {
        const int x = i < 4 ? 110 * i : 110 * (7 - i), y = i < 4 ? 0 : 100;
        brantel_answer answer{};
        answer.size = sizeof answer;
        require(brantel_session_add(session.get(), &picture[y * width + x], nullptr, &answer));
        std::printf("frame %d: %s at %d, %d\n", i, brantel_state_text(answer.state), answer.x, answer.y);
    }
    brantel_map map{};
    map.size = sizeof map;
    require(brantel_session_map(session.get(), 1, &map));
    std::printf("map 1: %d x %d pixels\n", map.width, map.height);
    return map.frames == 8 ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
