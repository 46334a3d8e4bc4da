// What a session takes beside its canvas stays below twelve frames, and does not grow from frame to frame.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "support/camera_path.h"

namespace {

std::atomic<std::int64_t> inUse{0};
std::atomic<std::int64_t> peak{0};

constexpr std::size_t header = 64;  // keeps every alignment that operator new promises

void* take(std::size_t bytes) {
    auto* memory = static_cast<unsigned char*>(std::malloc(bytes + header));
    if (memory == nullptr) throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(memory) = bytes;
    const std::int64_t now = inUse += static_cast<std::int64_t>(bytes);
    std::int64_t highest = peak;
    while (now > highest && !peak.compare_exchange_weak(highest, now)) {
    }
    return memory + header;
}

void giveBack(void* pointer) noexcept {
    if (pointer == nullptr) return;
    unsigned char* memory = static_cast<unsigned char*>(pointer) - header;
    inUse -= static_cast<std::int64_t>(*reinterpret_cast<std::size_t*>(memory));
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t bytes) {
    return take(bytes);
}
void* operator new[](std::size_t bytes) {
    return take(bytes);
}
void operator delete(void* pointer) noexcept {
    giveBack(pointer);
}
void operator delete[](void* pointer) noexcept {
    giveBack(pointer);
}
void operator delete(void* pointer, std::size_t) noexcept {
    giveBack(pointer);
}
void operator delete[](void* pointer, std::size_t) noexcept {
    giveBack(pointer);
}

namespace brantel::test {
namespace {

struct Kind {
    const char* name;
    std::int32_t channels;
    std::int32_t mainMode;
};

class Memory : public testing::TestWithParam<Kind> {};

constexpr std::int32_t rows = 480;
constexpr std::int32_t cols = 640;

TEST_P(Memory, OfASessionStaysBelowTwelveFramesBesideTheCanvas) {
    const Kind kind = GetParam();
    const Picture picture = makePicture(Texture::fine, 2 * rows, 4 * cols, kind.channels, 5);
    std::vector<Frame> frames;
    for (std::int32_t i = 0; i < 12; ++i) frames.push_back(picture.window(i * 160, i * 20, rows, cols));
    const std::int64_t before = inUse;
    Session session({rows, cols, kind.channels, kind.mainMode, 0});
    ASSERT_TRUE(session.ready());
    peak = inUse.load();
    ASSERT_EQ(session.start(frames[0], frames[1]).result, 0);
    for (std::size_t i = 2; i < frames.size(); ++i) ASSERT_EQ(session.next(frames[i]).result, 0);
    EXPECT_LE(peak - before, 12 * static_cast<std::int64_t>(frames[0].size()));
    session.close();
    EXPECT_LT(inUse - before, 1 << 16) << "teardown gives it back";
}

TEST_P(Memory, SettlesAfterTheFirstFrames) {
    const Kind kind = GetParam();
    const Picture picture = makePicture(Texture::fine, rows, 8 * cols, kind.channels, 6);
    std::vector<Frame> frames;
    for (std::int32_t i = 0; i < 40; ++i) frames.push_back(picture.window((i % 20) * 200, 0, rows, cols));
    Session session({rows, cols, kind.channels, kind.mainMode, 0});
    ASSERT_TRUE(session.ready());
    session.start(frames[0], frames[1]);
    for (std::size_t i = 2; i < 12; ++i) session.next(frames[i]);
    const std::int64_t settled = inUse;
    for (std::size_t i = 12; i < 20; ++i) session.next(frames[i]);
    EXPECT_LE(inUse - settled, 1 << 16) << "lists may still gain a few entries";
}

INSTANTIATE_TEST_SUITE_P(Kinds, Memory,
                         testing::Values(Kind{"GreyBrightness", 1, 0}, Kind{"GreyMotion", 1, 1},
                                         Kind{"ColourBrightness", 3, 0}, Kind{"ColourMotion", 3, 1}),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace brantel::test
