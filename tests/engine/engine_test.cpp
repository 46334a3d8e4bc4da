// Engines side by side: nothing of a mosaic's state is shared.
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>
#include <thread>

#include "cpu/backend.h"
#include "support/camera_path.h"
#include "support/output_capture.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

/// A stream of frames with its own geometry and modes.
struct Stream {
    std::int32_t rows;
    std::int32_t cols;
    std::int32_t channels;
    std::int32_t density;
    StitchModes modes;
    Texture texture;
    Path path;
};

const Stream streams[] = {
    {240, 320, 1, 1, {1, 0}, Texture::fine, serpentinePath({40, 40}, 120, 90, 3, 3)},
    {200, 300, 3, 4, {0, 1}, Texture::grains, straightPath({20, 200}, 80, 20, 9)},
};

/// An engine that is led along a stream, step by step.
class Led {
  public:
    explicit Led(const Stream& stream)
        : stream_(stream),
          picture_(makePicture(stream.texture, 700, 1100, stream.channels, 5)),
          engine_(makeCpuEngine(sink_)) {
        EXPECT_TRUE(engine_->initJoint(
            {stream.rows, stream.cols, stream.channels, stream.density, 20000, 20000}, stream.modes));
    }

    std::size_t calls() const { return stream_.path.size() - 1; }

    void call(std::size_t number) {
        Frame first = window(0);
        Frame current = window(number + 1);
        StitchOutputs out;
        out.result = engine_->stichingImagedJoint({number == 0 ? first.data() : nullptr,
                                                   current.data(),
                                                   number == 0 ? 0 : 1,
                                                   1,
                                                   {},
                                                   &out.minCorner,
                                                   &out.maxCorner,
                                                   &out.mosaic,
                                                   &out.flags});
        add(&out.result, sizeof out.result);
        add(&out.minCorner, sizeof out.minCorner);
        add(&out.maxCorner, sizeof out.maxCorner);
        add(&out.flags, sizeof out.flags);
        const cv::Mat content = out.mosaic(cv::Range(out.minCorner.y, out.maxCorner.y),
                                           cv::Range(out.minCorner.x, out.maxCorner.x))
                                    .clone();
        add(content.data, content.total() * content.elemSize());
        merged_ += out.flags.frameX != last_.frameX || out.flags.frameY != last_.frameY ? 1 : 0;
        last_ = out.flags;
    }

    void end() { EXPECT_TRUE(engine_->uinitJoint()); }
    std::uint64_t hash() const { return hash_; }
    std::string lines() const { return sink_.text(); }
    int merged() const { return merged_; }

  private:
    Frame window(std::size_t i) const {
        return picture_.window(stream_.path[i].x, stream_.path[i].y, stream_.rows, stream_.cols);
    }
    void add(const void* data, std::size_t bytes) { hash_ = hash_ * 31 + hashOf(data, bytes); }

    const Stream& stream_;
    Picture picture_;
    RecordingSink sink_;
    std::unique_ptr<Engine> engine_;
    std::uint64_t hash_ = 0;
    StitchFlags last_{};
    int merged_ = 0;
};

/// The start line of a worker may come anywhere before its first job.
std::string withoutStart(std::string lines) {
    const std::string start = "findHarrisCornerCoordianteThreadTwo in\n";
    const std::size_t at = lines.find(start);
    if (at != std::string::npos) lines.erase(at, start.size());
    return lines;
}

struct Alone {
    std::uint64_t hash;
    std::string lines;
};

Alone runAlone(const Stream& stream) {
    Led led(stream);
    for (std::size_t i = 0; i < led.calls(); ++i) led.call(i);
    led.end();
    EXPECT_GT(led.merged(), 3);
    return {led.hash(), withoutStart(led.lines())};
}

TEST(Engines, OnTwoThreadsGiveTheBytesAndLinesThatEachGivesAlone) {
    const Alone alone[] = {runAlone(streams[0]), runAlone(streams[1])};
    Led one(streams[0]);
    Led other(streams[1]);
    const auto lead = [](Led& led) {
        for (std::size_t i = 0; i < led.calls(); ++i) led.call(i);
        led.end();
    };
    std::thread second([&] { lead(other); });
    lead(one);
    second.join();
    EXPECT_EQ(one.hash(), alone[0].hash);
    EXPECT_EQ(other.hash(), alone[1].hash);
    EXPECT_EQ(withoutStart(one.lines()), alone[0].lines);
    EXPECT_EQ(withoutStart(other.lines()), alone[1].lines);
}

TEST(Engines, TakeTurnsOnOneThreadWithoutTouchingEachOther) {
    const Alone alone[] = {runAlone(streams[0]), runAlone(streams[1])};
    Led one(streams[0]);
    Led other(streams[1]);
    for (std::size_t i = 0; i < std::max(one.calls(), other.calls()); ++i) {
        if (i < one.calls()) one.call(i);
        if (i < other.calls()) other.call(i);
    }
    one.end();
    other.end();
    EXPECT_EQ(one.hash(), alone[0].hash);
    EXPECT_EQ(other.hash(), alone[1].hash);
    EXPECT_EQ(withoutStart(one.lines()), alone[0].lines);
    EXPECT_EQ(withoutStart(other.lines()), alone[1].lines);
}

TEST(Engines, WriteNothingButToTheirSink) {
    EXPECT_EQ(captureOutput([] { runAlone(streams[0]); }), "");
}

TEST(Engines, MayGoWithoutBeingTornDown) {
    RecordingSink sink;
    {
        const auto engine = makeCpuEngine(sink);
        ASSERT_TRUE(engine->initJoint({240, 320, 1, 1, 1, 1}, {}));
    }
    EXPECT_EQ(withoutStart(sink.text()), "") << "the threads end without a word";
}

}  // namespace
}  // namespace brantel::test
