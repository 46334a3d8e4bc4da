// What is kept in memory of a picture's frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "picture/bands.h"
#include "placed_scan.h"

namespace brantel::test {
namespace {

using render::PictureBands;

/// Counts the bytes of all matrices as long as it lives.
class CountedMatrices : public cv::MatAllocator {
  public:
    CountedMatrices() : before_(cv::Mat::getDefaultAllocator()) { cv::Mat::setDefaultAllocator(this); }
    ~CountedMatrices() override { cv::Mat::setDefaultAllocator(before_); }

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        cv::UMatData* made = before_->allocate(dims, sizes, type, data, step, flags, usage);
        made->currAllocator = this;
        const auto bytes = bytes_ += static_cast<std::int64_t>(made->size);
        for (std::int64_t most = most_; most < bytes && !most_.compare_exchange_weak(most, bytes);) continue;
        return made;
    }
    bool allocate(cv::UMatData* data, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        return before_->allocate(data, flags, usage);
    }
    void deallocate(cv::UMatData* data) const override {
        bytes_ -= static_cast<std::int64_t>(data->size);
        before_->deallocate(data);
    }

    std::int64_t bytes() const { return bytes_; }
    std::int64_t most() const { return most_; }
    void begin() { most_ = bytes_.load(); }

  private:
    cv::MatAllocator* before_;
    mutable std::atomic<std::int64_t> bytes_{0};
    mutable std::atomic<std::int64_t> most_{0};
};

ScanSettings wideScan(std::int32_t columns, std::int32_t rows) {
    ScanSettings settings;
    settings.frameSize = {160, 256};
    settings.type = CV_8UC1;
    settings.columns = columns;
    settings.rows = rows;
    settings.step = {128, 192};
    settings.jitter = 3;
    return settings;
}

constexpr std::int64_t frameBytes = 160 * 256;

struct Use {
    std::int64_t most;   ///< bytes of frames at one time
    std::int32_t reads;  ///< of each frame
};

Use useOf(const ScanSettings& settings, std::int64_t memory) {
    PlacedScan scan(settings);
    CountedMatrices counted;
    const std::int64_t before = counted.bytes();
    {
        const render::PictureParts parts = scan.parts();
        PictureBands bands(parts, memory);
        std::vector<std::uint8_t> row(static_cast<std::size_t>(scan.layout.size.width));
        for (std::int32_t i = 0; i < scan.layout.size.height; ++i)
            bands.next(1, row.data(), static_cast<std::int64_t>(row.size()));
    }
    EXPECT_EQ(counted.bytes(), before);
    const auto [fewest, most] = std::minmax_element(scan.frames.reads.begin(), scan.frames.reads.end());
    EXPECT_EQ(*fewest, *most);
    return {counted.most(), *most};
}

TEST(PieceStore, ReadsEachFrameOnceWithinItsMemory) {
    // A row of 10 frames, what is left of the row above, and two that are being decoded.
    constexpr std::int64_t memory = (10 + 5 + 2) * frameBytes;
    const Use use = useOf(wideScan(10, 8), memory);
    EXPECT_EQ(use.reads, 1);
    EXPECT_LE(use.most, memory);
    EXPECT_GE(use.most, 10 * frameBytes);
}

TEST(PieceStore, ReadsHalvesWhereARowOfFramesWouldBeTooMuch) {
    constexpr std::int64_t memory = (5 + 5 + 2) * frameBytes;
    const Use use = useOf(wideScan(10, 8), memory);
    EXPECT_EQ(use.reads, 2);
    EXPECT_LE(use.most, memory);
}

TEST(PieceStore, NeedsTheSameForHigherPictures) {
    for (const std::int64_t memory : {std::int64_t{0}, (10 + 5 + 2) * frameBytes}) {
        const Use few = useOf(wideScan(10, 3), memory);
        const Use many = useOf(wideScan(10, 30), memory);
        EXPECT_LE(many.most, few.most + 3 * frameBytes);
        EXPECT_EQ(many.reads, few.reads);
    }
}

TEST(PieceStore, ReadsANarrowPictureOnlyALittleAhead) {
    const Use use = useOf(wideScan(1, 60), std::int64_t{1} << 30);
    EXPECT_EQ(use.reads, 1);
    EXPECT_LE(use.most, 6 * frameBytes);
}

}  // namespace
}  // namespace brantel::test
