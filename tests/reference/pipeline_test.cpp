// The library and the reference's pipeline, fed with the same stream, leave the same records, bytes and lines: at every
// instruction level and on any number of cores.
#include "reference/pipeline.h"

#if defined(__linux__)
#include <sched.h>
#endif

#include <algorithm>
#include <cstring>

#include "support/at_level.h"
#include "support/camera_path.h"
#include "support/lines.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

struct Scene {
    const char* name;
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t channels;
    StitchModes modes;
    Texture texture;
    std::int32_t noise;
    Path (*path)(std::int32_t rows, std::int32_t cols);
    bool grows;  // the canvas, beyond its first size
};

void PrintTo(const Scene& scene, std::ostream* out) {
    *out << scene.name;
}

/// Mergeable steps, steps too small to merge, and one too far to register.
Path mixedSteps(std::int32_t rows, std::int32_t cols) {
    const std::int32_t dx = cols / 3;
    const std::int32_t dy = rows / 3;
    Path path = serpentinePath({8, 8}, dx, dy, 2, 1);
    for (std::int32_t i = 1; i <= 4; ++i) path.push_back({path.back().x + 6, path.back().y + 14});
    path.push_back({8, 8});
    path.push_back({path.front().x + dx, path.front().y + 3});
    return path;
}

/// Long frames that leave a new canvas of 6000 pixels after a few steps: to the right and back to the left.
Path acrossTheCanvas(std::int32_t rows, std::int32_t cols) {
    const std::int32_t dx = cols / 4 * 3;
    const Spot middle{8 + 3 * dx, 8 + rows / 8 * 4};
    Path path = straightPath(middle, dx, 0, 2);
    for (std::int32_t i = 1; i <= 4; ++i) path.push_back({path.back().x - dx, path.back().y});
    return path;
}

/// The same downwards and upwards.
Path alongTheCanvas(std::int32_t rows, std::int32_t cols) {
    Path path = acrossTheCanvas(cols, rows);
    for (Spot& spot : path) spot = {spot.y, spot.x};
    return path;
}

/// The frames of a scene, and behind the fourth one without any feature.
std::vector<Frame> framesOf(const Scene& scene) {
    const Path path = scene.path(scene.rows, scene.cols);
    Spot far{0, 0};
    for (const Spot& spot : path) far = {std::max(far.x, spot.x), std::max(far.y, spot.y)};
    const Picture picture =
        makePicture(scene.texture, far.y + scene.rows, far.x + scene.cols, scene.channels, 21);
    std::vector<Frame> frames;
    for (std::size_t i = 0; i < path.size(); ++i) {
        frames.push_back(picture.window(path[i].x, path[i].y, scene.rows, scene.cols));
        if (scene.noise > 0) addNoise(frames.back(), scene.noise, i + 1);
        for (std::size_t k = 0; k < frames.back().size(); k += 977)
            frames.back()[k] = 0;  // zeros have a meaning
    }
    frames.insert(frames.begin() + 4, Frame(frames[0].size(), 90));
    return frames;
}

/// Both, side by side.
class Pair {
  public:
    explicit Pair(const Scene& scene)
        : session_({scene.rows, scene.cols, scene.channels, scene.modes.GStitchMainMode,
                    scene.modes.GstaticMainDynamicFlag}),
          pipeline_(log_, {scene.rows, scene.cols, scene.channels, 1, 20000, 20000}, scene.modes) {
        EXPECT_TRUE(session_.ready());
    }

    /// first is null but for the first call.
    void call(const Frame* first, const Frame& current) {
        const StitchFlags before = pipeline_.record();
        Frame firsts[2];
        for (Frame& copy : firsts)
            if (first != nullptr) copy = *first;
        const std::size_t linesBefore = sink_.text().size();
        const bool done = first != nullptr ? pipeline_.start(firsts[0].data(), current.data())
                                           : pipeline_.next(current.data());
        std::string lines;
        for (const std::string& line : withoutStartLine(captureLines([&] {
                 out_ = first != nullptr ? session_.start(firsts[1], current) : session_.next(current);
             })))
            lines += line + "\n";
        EXPECT_EQ(lines, sink_.text().substr(linesBefore));
        EXPECT_EQ(firsts[0], firsts[1]);
        EXPECT_EQ(out_.result, done ? 0 : -1);
        // byte by byte: a measure may be NaN, which equals nothing
        EXPECT_EQ(std::memcmp(&out_.flags, &pipeline_.record(), sizeof out_.flags), 0);
        EXPECT_EQ((CornerPoint{out_.minCorner.x, out_.minCorner.y}), pipeline_.minimum());
        EXPECT_EQ((CornerPoint{out_.maxCorner.x, out_.maxCorner.y}), pipeline_.maximum());
        expectSameCanvas();
        placed_ += before.frameX != out_.flags.frameX || before.frameY != out_.flags.frameY ? 1 : 0;
    }

    int placed() const { return placed_; }
    bool hasGrown() const { return out_.mosaic.total() > 6000 * 6000; }

  private:
    void expectSameCanvas() const {
        const cv::Mat& expected = pipeline_.canvas();
        ASSERT_EQ(out_.mosaic.size(), expected.size());
        ASSERT_EQ(out_.mosaic.type(), expected.type());
        for (int r = 0; r < expected.rows; ++r)
            ASSERT_EQ(std::memcmp(out_.mosaic.ptr(r), expected.ptr(r), expected.cols * expected.elemSize()),
                      0)
                << "row " << r;
    }

    RecordingSink sink_;
    const Log log_{sink_};
    Session session_;
    reference::Pipeline pipeline_;
    StitchOutputs out_;
    int placed_ = 0;
};

void expectSameStream(const Scene& scene) {
    const std::vector<Frame> frames = framesOf(scene);
    Pair pair(scene);
    for (std::size_t i = 1; i < frames.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "frame " << i);
        pair.call(i == 1 ? frames.data() : nullptr, frames[i]);
    }
    EXPECT_EQ(pair.hasGrown(), scene.grows);
    EXPECT_GE(pair.placed(), 4) << "too few merges to say anything";
}

class StreamsAtLevels : public testing::TestWithParam<std::tuple<Scene, simd::Level>> {
  protected:
    const Scene& scene() const { return std::get<0>(GetParam()); }

  private:
    ForcedLevel forced_{std::get<1>(GetParam())};
};

TEST_P(StreamsAtLevels, AreThoseOfTheReference) {
    expectSameStream(scene());
}

#if defined(__linux__)

TEST_P(StreamsAtLevels, AreThoseOfTheReferenceOnOneCore) {
    cpu_set_t all;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    int core = 0;
    while (!CPU_ISSET(core, &all)) ++core;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);  // the workers, started later, inherit it
    expectSameStream(scene());
    ASSERT_EQ(sched_setaffinity(0, sizeof all, &all), 0);
}

#endif

INSTANTIATE_TEST_SUITE_P(
    Scenes, StreamsAtLevels,
    testing::Combine(
        testing::Values(Scene{"grey", 301, 399, 1, {0, 0}, Texture::fine, 3, mixedSteps, false},
                        Scene{"colour", 240, 320, 3, {0, 1}, Texture::grains, 2, mixedSteps, false},
                        Scene{"greyMotion", 240, 322, 1, {1, 0}, Texture::grid, 0, mixedSteps, false},
                        Scene{"colourMotion", 322, 250, 3, {1, 0}, Texture::fine, 2, mixedSteps, false}),
        testing::ValuesIn(supportedLevels())),
    [](const auto& info) {
        return std::string(std::get<0>(info.param).name) + "_" + simd::nameOf(std::get<1>(info.param));
    });

class GrowingStreams : public testing::TestWithParam<Scene> {};

TEST_P(GrowingStreams, AreThoseOfTheReference) {
    expectSameStream(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, GrowingStreams,
    testing::Values(Scene{"across", 128, 2400, 3, {0, 0}, Texture::fine, 2, acrossTheCanvas, true},
                    Scene{"along", 2400, 160, 1, {0, 0}, Texture::fine, 2, alongTheCanvas, true}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace brantel::test
