// Stitches a set of generated streams and prints one hash for each, over every result of every call and the
// canvas. The numbers are the same on every system. usage: stream_hashes [FILE]   with FILE: ends with 1
// unless they are the ones in it
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/camera_path.h"

namespace brantel::test {
namespace {

struct Stream {
    const char* name;
    Texture texture;
    SessionOptions session;
    Path path;
    Disturb disturb = nullptr;
    std::int32_t scale = 1;
    bool useExpected = false;
};

class Digest {
  public:
    template <class T>
    void add(const T& value) {
        add(&value, sizeof value);
    }
    void add(const void* data, std::size_t bytes) { addHash(hashOf(data, bytes)); }
    void add(const cv::Mat& image) { addHash(hashOf(image)); }
    std::uint64_t value() const { return hash_; }

  private:
    void addHash(std::uint64_t hash) {
        const std::uint64_t pair[2] = {hash_, hash};
        hash_ = hashOf(pair, sizeof pair);
    }

    std::uint64_t hash_ = 0;
};

void addCall(Digest& digest, const StitchOutputs& out) {
    digest.add(out.result);
    digest.add(out.minCorner);
    digest.add(out.maxCorner);
    digest.add(out.flags);  // the measured floats, too, to the last bit
}

SessionOptions options(std::int32_t rows, std::int32_t cols, std::int32_t channels, std::int32_t mainMode = 1,
                       std::int32_t staticFlag = 0, std::int32_t densityLevel = 1) {
    SessionOptions session;
    session.rows = rows;
    session.cols = cols;
    session.channels = channels;
    session.mainMode = mainMode;
    session.staticFlag = staticFlag;
    session.densityLevel = densityLevel;
    return session;
}

void lightFlickers(Frame& frame, std::size_t number) {
    changeBrightness(frame, static_cast<std::int32_t>(number % 5) * 9 - 18);
}

void sensorNoise(Frame& frame, std::size_t number) {
    addNoise(frame, 6, number);
}

std::vector<Stream> streams() {
    const Path serpentine = serpentinePath({8, 8}, 120, 90, 5, 3);
    return {
        {"grey", Texture::fine, options(240, 320, 1), serpentine},
        {"colour", Texture::fine, options(240, 320, 3), serpentine},
        {"odd_size", Texture::grains, options(231, 317, 3), serpentine},
        {"brightness", Texture::fine, options(240, 320, 1, 0, 1), serpentine, lightFlickers},
        {"brightness_wide", Texture::grains, options(240, 320, 3, 0, 0), serpentine, lightFlickers},
        {"motion_strict", Texture::fine, options(240, 320, 1, 1, 1), serpentine},
        {"dense", Texture::grid, options(240, 320, 1, 1, 0, 8), serpentine},
        {"expected", Texture::fine, options(300, 400, 1), straightPath({8, 300}, 120, -60, 4), nullptr, 1,
         true},
        {"reduced", Texture::fine, options(240, 320, 1), serpentine, nullptr, 2},
        {"canvas_grows", Texture::fine, options(300, 600, 1), straightPath({7300, 8}, -400, 0, 18)},
        {"wandering", Texture::grains, options(240, 320, 3),
         randomPath({400, 300}, {0, 0}, {900, 500}, 40, 160, 25, 3), sensorNoise},
    };
}

Picture pictureFor(const Stream& stream) {
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    for (const Spot& spot : stream.path) {
        rows = std::max(rows, spot.y + stream.session.rows);
        cols = std::max(cols, spot.x + stream.session.cols);
    }
    return makePicture(stream.texture, rows, cols, stream.session.channels, 17);
}

/// Every outcome counts, also frames that are refused.
std::string line(const Stream& stream) {
    const Picture picture = pictureFor(stream);
    Session session(stream.session);
    session.setScale(stream.scale);
    Digest digest;
    StitchOutputs out;
    int merged = 1;
    Frame first;
    StitchFlags before{};
    for (std::size_t i = 0; i < stream.path.size(); ++i) {
        Frame frame =
            picture.window(stream.path[i].x, stream.path[i].y, stream.session.rows, stream.session.cols);
        if (stream.disturb) stream.disturb(frame, i);
        if (i == 0) {
            first = frame;
            continue;
        }
        const Spot shift{stream.path[i].x - stream.path[i - 1].x, stream.path[i].y - stream.path[i - 1].y};
        if (stream.useExpected) session.expect(shift.x, shift.x < 0 ? -shift.y : shift.y);
        out = i == 1 ? session.start(first, frame) : session.next(frame);
        addCall(digest, out);
        if (out.flags.frameX != before.frameX || out.flags.frameY != before.frameY) ++merged;
        before = out.flags;
    }
    digest.add(out.mosaic.rows);
    digest.add(out.mosaic.cols);
    digest.add(out.mosaic);
    char text[120];
    std::snprintf(text, sizeof text, "hash %-16s %016llx  %d of %d frames merged", stream.name,
                  static_cast<unsigned long long>(digest.value()), merged,
                  static_cast<int>(stream.path.size()));
    return text;
}

std::vector<std::string> linesOf(const char* path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) lines.push_back(text);
    return lines;
}

}  // namespace
}  // namespace brantel::test

int main(int argc, char** argv) {
    using namespace brantel::test;
    const std::vector<std::string> expected = argc > 1 ? linesOf(argv[1]) : std::vector<std::string>();
    std::vector<std::string> lines;
    for (const Stream& stream : streams()) lines.push_back(line(stream));
    for (const std::string& text : lines) std::printf("%s\n", text.c_str());
    if (argc > 1 && lines != expected) {
        std::printf("These are not the hashes in %s\n", argv[1]);
        return 1;
    }
    return 0;
}
