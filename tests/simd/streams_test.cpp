// The same stream gives the same results at every level and on any number of cores.
#if defined(__linux__)
#include <sched.h>
#endif

#include <algorithm>

#include "simd/at_level.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

struct Scene {
    SessionOptions session;
    Texture texture;
};

std::vector<Scene> scenes() {
    return {{{241, 323, 3, 0, 0}, Texture::fine}, {{240, 320, 1, 1, 0}, Texture::fine}};
}

/// One number for all results of all calls and for the canvas they leave; 0 when too little was merged.
std::uint64_t hashOfStream(const Scene& scene) {
    const std::int32_t rows = scene.session.rows;
    const std::int32_t cols = scene.session.cols;
    const Path path = serpentinePath({8, 8}, cols / 3, rows / 3, 3, 2);
    Spot far{0, 0};
    for (const Spot& spot : path) far = {std::max(far.x, spot.x), std::max(far.y, spot.y)};
    const Picture picture =
        makePicture(scene.texture, far.y + rows, far.x + cols, scene.session.channels, 61);
    Session session(scene.session);
    std::uint64_t hash = 0;
    const auto add = [&hash](const void* data, std::size_t bytes) {
        const std::uint64_t pair[2] = {hash, hashOf(data, bytes)};
        hash = hashOf(pair, sizeof pair);
    };
    Frame first;
    StitchOutputs out;
    int merged = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
        Frame frame = picture.window(path[i].x, path[i].y, rows, cols);
        addNoise(frame, 2, i + 1);
        for (std::size_t k = 0; k < frame.size(); k += 977) frame[k] = 0;  // holes on the canvas
        if (i == 0) {
            first = frame;
            continue;
        }
        const StitchFlags before = out.flags;
        out = i == 1 ? session.start(first, frame) : session.next(frame);
        merged += out.flags.frameX != before.frameX || out.flags.frameY != before.frameY ? 1 : 0;
        add(&out.result, sizeof out.result);
        add(&out.minCorner, sizeof out.minCorner);
        add(&out.maxCorner, sizeof out.maxCorner);
        add(&out.flags, sizeof out.flags);
    }
    // the rest is black
    const cv::Mat content =
        out.mosaic(cv::Range(out.minCorner.y, out.maxCorner.y), cv::Range(out.minCorner.x, out.maxCorner.x))
            .clone();
    add(content.data, content.total() * content.elemSize());
    return merged < 4 ? 0 : hash;
}

std::vector<std::uint64_t> hashesAt(simd::Level level) {
    const simd::Level before = simd::activeLevel();
    simd::forceLevel(level);
    std::vector<std::uint64_t> hashes;
    for (const Scene& scene : scenes()) hashes.push_back(hashOfStream(scene));
    simd::forceLevel(before);
    return hashes;
}

const std::vector<std::uint64_t>& baselineHashes() {
    static const std::vector<std::uint64_t> hashes = hashesAt(simd::Level::baseline);
    return hashes;
}

class LevelStreams : public testing::TestWithParam<simd::Level> {};

TEST_P(LevelStreams, HaveTheHashesOfTheBaseline) {
    EXPECT_EQ(hashesAt(GetParam()), baselineHashes());
    EXPECT_EQ(std::count(baselineHashes().begin(), baselineHashes().end(), 0U), 0) << "too little was merged";
}

#if defined(__linux__)

TEST_P(LevelStreams, HaveTheSameHashesOnOneCore) {
    cpu_set_t all;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    int core = 0;
    while (!CPU_ISSET(core, &all)) ++core;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);  // the workers, started later, inherit it
    const std::vector<std::uint64_t> pinned = hashesAt(GetParam());
    ASSERT_EQ(sched_setaffinity(0, sizeof all, &all), 0);
    EXPECT_EQ(pinned, baselineHashes());
}

#endif

BRANTEL_AT_EVERY_LEVEL(LevelStreams);

}  // namespace
}  // namespace brantel::test
