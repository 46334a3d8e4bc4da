#include "frames/live_frames.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace brantel::programs {
namespace {

cv::Mat numbered(std::size_t number) {
    return cv::Mat(2, 2, CV_8UC1, cv::Scalar(static_cast<double>(number)));
}

/// A camera that gives so many frames at once, then waits until it is let go on.
class Camera {
  public:
    explicit Camera(std::size_t atOnce) : atOnce_(atOnce) {}

    LiveFrames::Grab grab() {
        return [this] {
            const std::size_t number = ++given_;
            if (number <= atOnce_) return numbered(number);
            allTaken_.set_value();
            goOn_.get_future().wait();
            return cv::Mat();
        };
    }
    void waitUntilAllAreTaken() { allTaken_.get_future().wait(); }
    void goOn() { goOn_.set_value(); }

  private:
    std::size_t atOnce_;
    std::atomic<std::size_t> given_{0};
    std::promise<void> allTaken_;
    std::promise<void> goOn_;
};

TEST(LiveFrames, GivesEveryFrameToWhoeverIsFastEnough) {
    Camera camera(3);
    LiveFrames frames("cam", camera.grab(), 4);
    camera.waitUntilAllAreTaken();
    camera.goOn();
    Frame frame;
    for (std::size_t k = 1; k <= 3; ++k) {
        ASSERT_TRUE(frames.next(frame));
        EXPECT_EQ(frame.name, "cam#" + std::to_string(k));
        EXPECT_EQ(frame.index, k - 1);
        EXPECT_EQ(frame.image.at<std::uint8_t>(0, 0), k);
    }
    EXPECT_FALSE(frames.next(frame));
    EXPECT_EQ(frames.dropped(), 0U);
}

TEST(LiveFrames, DropsTheOldestUnreadFrameAndCountsIt) {
    Camera camera(10);
    LiveFrames frames("cam", camera.grab(), 4);
    camera.waitUntilAllAreTaken();
    EXPECT_EQ(frames.dropped(), 6U);
    camera.goOn();
    Frame frame;
    for (std::size_t k = 7; k <= 10; ++k) {
        ASSERT_TRUE(frames.next(frame));
        EXPECT_EQ(frame.origin.page, k);
        EXPECT_EQ(frame.image.at<std::uint8_t>(0, 0), k);
    }
    EXPECT_FALSE(frames.next(frame));
}

TEST(LiveFrames, WaitsForAFrame) {
    std::promise<void> shutter;
    std::atomic<int> given{0};
    LiveFrames frames("cam", [&] {
        if (++given > 1) return cv::Mat();
        shutter.get_future().wait();
        return numbered(1);
    });
    auto taken = std::async(std::launch::async, [&] {
        Frame frame;
        return frames.next(frame);
    });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    shutter.set_value();
    EXPECT_TRUE(taken.get());
}

TEST(LiveFrames, EndWithACameraThatFails) {
    LiveFrames frames("cam", []() -> cv::Mat { throw std::runtime_error("unplugged"); });
    Frame frame;
    EXPECT_FALSE(frames.next(frame));
}

TEST(LiveFrames, CanBeLeftAtAnyTime) {
    std::atomic<bool> grabbed{false};
    {
        const LiveFrames frames("cam", [&] {
            grabbed = true;
            return numbered(1);
        });
        while (!grabbed) std::this_thread::yield();
    }
    SUCCEED() << "nobody waits for ever";
}

}  // namespace
}  // namespace brantel::programs
