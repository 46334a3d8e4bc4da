// A memory block that a stage allocates on first use and keeps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace brantel {

template <class T>
class Buffer {
  public:
    /// Makes room for count elements; existing room that suffices is kept with its contents. New memory is
    /// zero.
    void ensure(std::int64_t count) {
        if (count <= size_) return;
        data_.reset();
        size_ = 0;
        data_.reset(new T[static_cast<std::size_t>(count)]());
        size_ = count;
    }
    void reset() {
        data_.reset();
        size_ = 0;
    }
    void swap(Buffer& other) noexcept {
        data_.swap(other.data_);
        std::swap(size_, other.size_);
    }
    T* data() { return data_.get(); }
    const T* data() const { return data_.get(); }
    std::int64_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

  private:
    std::unique_ptr<T[]> data_;
    std::int64_t size_ = 0;
};

}  // namespace brantel
