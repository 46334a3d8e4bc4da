// What the workers do between two calls changes nothing but the time that the next call takes.
#include "cpu/idle_work.h"

#include <gtest/gtest.h>

#include <chrono>
#include <opencv2/core.hpp>
#include <thread>

#include "cpu/state.h"
#include "support/camera_path.h"
#include "support/test_log.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

using std::chrono::microseconds;

constexpr microseconds longEnough{25000};  // for all that workers do between two calls

void pause() {
    std::this_thread::sleep_for(longEnough);
}

const Picture& picture() {
    static const Picture one = makePicture(Texture::fine, 900, 1500, 1, 21);
    return one;
}

Frame frameAt(std::int32_t x, std::int32_t y) {
    return picture().window(x, y, rows, cols);
}

/// An engine whose host waits so long between its calls.
class Host {
  public:
    explicit Host(microseconds wait) : wait_(wait) {
        EXPECT_TRUE(engine_.initJoint({rows, cols, 1, 1, 20000, 20000}, {1, 0}));
    }

    std::int32_t call(const Frame* first, const Frame& current, const ExpectedShift& expected = {}) {
        Frame begun = first != nullptr ? *first : Frame();
        Frame frame = current;
        StitchOutputs out;
        out.result = engine_.stichingImagedJoint({first != nullptr ? begun.data() : nullptr, frame.data(),
                                                  first != nullptr ? 0 : 1, 1, expected, &out.minCorner,
                                                  &out.maxCorner, &out.mosaic, &out.flags});
        add(&out.result, sizeof out.result);
        add(&out.flags, sizeof out.flags);
        add(&out.minCorner, sizeof out.minCorner);
        last_ = out;
        if (wait_ != microseconds(0)) std::this_thread::sleep_for(wait_);
        return out.result;
    }

    std::uint64_t hash() {
        const std::uint64_t pixels = hashOf(last_.mosaic);
        add(&pixels, sizeof pixels);
        return hash_;
    }
    std::string lines() const {
        std::string lines = sink_.text();
        const std::string start = "findHarrisCornerCoordianteThreadTwo in\n";
        const std::size_t at = lines.find(start);
        return at == std::string::npos ? lines : lines.erase(at, start.size());
    }
    CpuEngine& engine() { return engine_; }
    const StitchOutputs& last() const { return last_; }

  private:
    void add(const void* data, std::size_t bytes) { hash_ = hash_ * 31 + hashOf(data, bytes); }

    microseconds wait_;
    RecordingSink sink_;
    CpuEngine engine_{sink_};
    std::uint64_t hash_ = 0;
    StitchOutputs last_;
};

/// The same calls by a host that never waits, and by hosts that come back before the workers have begun anything, in the
/// middle of it, and when all is done.
template <class Calls>
void expectSameInAnyTime(Calls&& calls) {
    Host hurrying(microseconds(0));
    calls(hurrying);
    const std::uint64_t hash = hurrying.hash();
    for (const microseconds wait : {microseconds(30), microseconds(200), longEnough}) {
        Host waiting(wait);
        calls(waiting);
        EXPECT_EQ(waiting.hash(), hash) << wait.count();
        EXPECT_EQ(waiting.lines(), hurrying.lines()) << wait.count();
    }
}

TEST(IdleWork, GivesTheBytesAndLinesOfAHostThatNeverWaits) {
    expectSameInAnyTime([](Host& host) {
        const Frame first = frameAt(0, 0);
        for (std::int32_t i = 1; i <= 12; ++i)
            ASSERT_EQ(host.call(i == 1 ? &first : nullptr, frameAt(80 * i, 20 * i)), 0);
    });
}

TEST(IdleWork, ServesExpectedShiftsThatComeTwiceAndOthersToo) {
    expectSameInAnyTime([](Host& host) {
        const Frame first = frameAt(0, 0);
        const ExpectedShift shifts[] = {{80, 20, true},
                                        {80, 20, true},
                                        {80, 20, true},
                                        {81, 20, true},
                                        {},
                                        {},
                                        {78, 22, true},
                                        {},
                                        {80, 20, true},
                                        {80, 20, true},
                                        {0, 0, false},
                                        {80, 20, false},
                                        {80, 20, true}};
        std::int32_t i = 0;
        for (const ExpectedShift& shift : shifts) {
            ++i;
            host.call(i == 1 ? &first : nullptr, frameAt(80 * i, 20 * i), shift);
        }
    });
}

TEST(IdleWork, MeetsNewMosaicsRefusedFramesAndMissingOnes) {
    expectSameInAnyTime([](Host& host) {
        const Frame first = frameAt(0, 0);
        const Frame other = frameAt(500, 300);
        const Frame flat(first.size(), 77);
        EXPECT_EQ(host.call(&first, frameAt(80, 20)), 0);
        EXPECT_EQ(host.call(nullptr, flat), -1);
        EXPECT_EQ(host.call(nullptr, frameAt(160, 40)), 0);
        EXPECT_EQ(host.call(&other, frameAt(560, 340)), 0);
        EXPECT_EQ(host.call(nullptr, frameAt(565, 342)), 0) << "too small a shift";
        EXPECT_EQ(host.call(nullptr, frameAt(620, 380)), 0);
        EXPECT_EQ(host.call(&first, flat), -1);
        EXPECT_EQ(host.call(nullptr, frameAt(160, 40)), -1);
        EXPECT_EQ(host.call(&other, frameAt(560, 340)), 0);
    });
}

TEST(IdleWork, KeepsTheLinesOfATemplateWithoutCornersForTheCall) {
    for (const microseconds wait : {microseconds(0), longEnough}) {
        Host host(wait);
        const Frame first = frameAt(0, 0);
        ASSERT_EQ(host.call(&first, frameAt(80, 20)), 0);
        const Frame flat(first.size(), 90);
        host.engine().takeTemplate(flat.data(), cols, {host.last().flags.frameX, host.last().flags.frameY});
        host.engine().useIdleTime();
        const std::size_t before = host.lines().size();
        pause();
        EXPECT_EQ(host.lines().size(), before);
        EXPECT_EQ(host.call(nullptr, frameAt(160, 40)), -1);
        EXPECT_EQ(host.lines().substr(before),
                  "imageMosaicFun in\ngoToGetRidOfSomeSPoints CornervalueIn size is 0\n"
                  "goToGetRidOfSomeSPoints CornervalueIn size is 0\nHarrissCornerSPoint size is 0\n");
    }
}

TEST(IdleWork, LeavesTheTemplateDescribedForTheNextCall) {
    Host host(longEnough);
    const Frame first = frameAt(0, 0);
    ASSERT_EQ(host.call(&first, frameAt(80, 20)), 0);
    EXPECT_TRUE(host.engine().idle.describesFor({}));
    EXPECT_FALSE(host.engine().idle.describesFor({80, 20, true}));
    EXPECT_TRUE(host.engine().idle.finish());
    EXPECT_FALSE(host.engine().idle.finish()) << "what was handed over is gone";
}

TEST(IdleWork, WritesNoPixelOfTheCanvasWhileTheHostReadsIt) {
    Host host(microseconds(0));
    const Frame first = frameAt(0, 0);
    for (std::int32_t i = 1; i <= 8; ++i) {
        ASSERT_EQ(host.call(i == 1 ? &first : nullptr, frameAt(80 * i, 20 * i)), 0);
        const std::uint64_t hash = hashOf(host.last().mosaic);
        pause();
        EXPECT_EQ(hashOf(host.last().mosaic), hash);
    }
}

TEST(IdleWork, EndsBeforeWhateverComesNext) {
    for (std::int32_t round = 0; round < 30; ++round) {
        Host host(microseconds(0));
        const Frame first = frameAt(0, 0);
        ASSERT_EQ(host.call(&first, frameAt(80, 20)), 0);
        std::this_thread::sleep_for(std::chrono::microseconds(100 * (round % 10)));
        if (round % 3 == 0) {
            EXPECT_TRUE(host.engine().initJoint({rows, cols, 1, 4, 20000, 20000}, {0, 0}));
        }
        if (round % 3 == 1) {
            EXPECT_TRUE(host.engine().uinitJoint());
            EXPECT_TRUE(host.engine().initJoint({rows + 20, cols - 30, 1, 1, 20000, 20000}, {1, 0}));
        }
    }
}

}  // namespace
}  // namespace brantel::test
