// A buffer that touches a page nobody may read or write, so that one element too far ends the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "support/pages.h"

namespace brantel::test {

enum class Guard { behind, before };

/// count elements of T that end (or start) at the guard page; off elements of slack lie between, which moves
/// the buffer to any alignment of T. The other side is filled with a canary: see intact().
template <class T>
class GuardedBuffer {
  public:
    explicit GuardedBuffer(std::size_t count, Guard guard = Guard::behind, std::size_t off = 0)
        : count_(count) {
        const std::size_t used = (count + off) * sizeof(T);
        const std::size_t pageBytes = pageSize();
        const std::size_t room = (used + minimumCanary + pageBytes - 1) / pageBytes * pageBytes;
        total_ = room + pageBytes;
        base_ = static_cast<std::uint8_t*>(allocatePages(total_));
        std::uint8_t* page = guard == Guard::behind ? base_ + room : base_;
        first_ = guard == Guard::behind ? base_ : base_ + pageBytes;
        last_ = first_ + room;
        std::memset(first_, canary, room);
        forbidPages(page, pageBytes);
        std::uint8_t* start = guard == Guard::behind ? last_ - used : first_ + off * sizeof(T);
        data_ = reinterpret_cast<T*>(start);
        std::memset(start, 0, count * sizeof(T));
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer() { freePages(base_, total_); }

    /// A guarded copy of a container's elements.
    template <class Container>
    static std::unique_ptr<GuardedBuffer> copyOf(const Container& from, Guard guard = Guard::behind,
                                                 std::size_t off = 0) {
        auto copy = std::make_unique<GuardedBuffer>(from.size(), guard, off);
        if (!from.empty()) std::memcpy(copy->data(), from.data(), from.size() * sizeof(T));
        return copy;
    }

    T* data() { return data_; }
    T& operator[](std::size_t i) { return data_[i]; }
    T* begin() { return data_; }
    T* end() { return data_ + count_; }
    std::size_t size() const { return count_; }

    /// True while nobody wrote beside the buffer.
    bool intact() const {
        const auto* from = reinterpret_cast<const std::uint8_t*>(data_);
        const std::uint8_t* to = from + count_ * sizeof(T);
        for (const std::uint8_t* p = first_; p < from; ++p)
            if (*p != canary) return false;
        for (const std::uint8_t* p = to; p < last_; ++p)
            if (*p != canary) return false;
        return true;
    }

  private:
    static constexpr std::uint8_t canary = 0xA5;
    static constexpr std::size_t minimumCanary = 64;

    std::size_t count_;
    T* data_ = nullptr;
    std::uint8_t* first_ = nullptr;
    std::uint8_t* last_ = nullptr;
    std::uint8_t* base_ = nullptr;
    std::size_t total_ = 0;
};

}  // namespace brantel::test
