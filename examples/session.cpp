// A session in C++: joins the frames given as PGM files (P5, 8 bits) and writes the picture to map.pgm.
#include <brantel/session.h>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// The pixels of a file; none when it is none of the kind.
static std::vector<char> load(const char* name, int& columns, int& rows) {
    std::ifstream file(name, std::ios::binary);
    std::string kind, depth;
    file >> kind >> columns >> rows >> depth;
    if (!file || kind != "P5" || depth != "255" || columns < 1 || rows < 1) return {};
    std::vector<char> pixels(std::size_t(columns) * rows);
    file.get();  // the white space after the depth
    return file.read(pixels.data(), pixels.size()) ? pixels : std::vector<char>();
}

static void require(brantel_status status) {
    if (status != BRANTEL_OK) throw std::runtime_error(brantel_status_text(status));
}

static void save(const brantel_session* session) {
    brantel_map map{sizeof map};
    require(brantel_session_map(session, 1, &map));
    std::vector<char> pixels(std::size_t(map.width) * map.height);
    require(brantel_session_read(session, 1, map.x, map.y, map.width, map.height, 1, pixels.data(), 0));
    std::ofstream file("map.pgm", std::ios::binary);
    file << "P5 " << map.width << ' ' << map.height << " 255\n";
    if (!file.write(pixels.data(), pixels.size()).flush()) throw std::runtime_error("cannot write map.pgm");
}

int main(int count, char** names) try {
    brantel_settings settings{sizeof settings};
    require(brantel_default_settings(&settings));
    settings.channels = 1;
    if (count > 1) load(names[1], settings.columns, settings.rows);  // all frames are to have this size
    brantel_session* opened = nullptr;
    require(brantel_session_open(&settings, &opened));
    const std::unique_ptr<brantel_session, void (*)(brantel_session*)> session(opened, brantel_session_close);
    for (int i = 1; i < count; ++i) {
        int columns = 0, rows = 0;
        const std::vector<char> pixels = load(names[i], columns, rows);
        if (pixels.empty() || columns != settings.columns || rows != settings.rows) {
            std::printf("%s: not used\n", names[i]);
            continue;
        }
        brantel_answer answer{sizeof answer};
        require(brantel_session_add(session.get(), pixels.data(), nullptr, &answer));
        std::printf("%s: %s at %d, %d\n", names[i], brantel_state_text(answer.state), answer.x, answer.y);
    }
    save(session.get());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
