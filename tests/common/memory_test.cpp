// Buffers that are allocated on first use and kept.
#include <gtest/gtest.h>

#include <new>

#include "common/buffer.h"
#include "platform/platform.h"

namespace brantel {
namespace {

TEST(Buffer, NewMemoryIsZero) {
    Buffer<float> buffer;
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.data(), nullptr);
    buffer.ensure(1000);
    EXPECT_EQ(buffer.size(), 1000);
    for (std::int64_t i = 0; i < 1000; ++i) ASSERT_EQ(buffer.data()[i], 0.0F);
}

TEST(Buffer, RoomThatSufficesIsKeptWithItsContents) {
    Buffer<std::uint8_t> buffer;
    buffer.ensure(10);
    buffer.data()[3] = 7;
    const std::uint8_t* memory = buffer.data();
    buffer.ensure(10);
    buffer.ensure(4);
    buffer.ensure(-1);
    EXPECT_EQ(buffer.data(), memory);
    EXPECT_EQ(buffer.size(), 10);
    EXPECT_EQ(buffer.data()[3], 7);
}

TEST(Buffer, MoreRoomIsZeroAgain) {
    Buffer<std::uint8_t> buffer;
    buffer.ensure(10);
    buffer.data()[3] = 7;
    buffer.ensure(11);
    EXPECT_EQ(buffer.size(), 11);
    EXPECT_EQ(buffer.data()[3], 0);
    buffer.reset();
    EXPECT_TRUE(buffer.empty());
}

TEST(Platform, PagesFromTheSystemAreZeroAndWritable) {
    constexpr std::size_t bytes = 1 << 20;
    auto* pages = static_cast<std::uint8_t*>(platform::allocateZeroPages(bytes));
    ASSERT_NE(pages, nullptr);
    for (std::size_t i = 0; i < bytes; ++i) ASSERT_EQ(pages[i], 0);
    pages[0] = pages[bytes - 1] = 1;
    platform::freeZeroPages(pages, bytes);
    platform::freeZeroPages(nullptr, bytes);
}

TEST(Platform, ALibraryThatIsNotThereDoesNotOpen) {
    platform::DynamicLibrary library;
    EXPECT_FALSE(library.open("no-library-has-this-name"));
    EXPECT_FALSE(library.isOpen());
    EXPECT_EQ(library.symbol("anything"), nullptr);
    library.close();
}

}  // namespace
}  // namespace brantel
