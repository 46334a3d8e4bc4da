// The motion measure taken row by row equals smoothing both frames and comparing them.
#include <gtest/gtest.h>

#include "cpu/image_ops.h"
#include "cpu/motion.h"
#include "support/guarded_buffer.h"
#include "support/levels.h"
#include "support/picture.h"

namespace brantel {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes smoothed(Bytes image, std::int32_t rows, std::int32_t cols) {
    Bytes a(static_cast<std::size_t>(rows + 4) * (cols + 4));
    Bytes b(a.size());
    smoothGrey(image.data(), rows, cols, a.data(), b.data());
    return image;
}

constexpr std::pair<std::int32_t, std::int32_t> sizes[] = {
    {1, 1}, {2, 50}, {50, 2}, {3, 3}, {3, 90}, {90, 3}, {31, 33}, {64, 64}, {131, 257}, {40, 100}};

TEST(SmoothGreyInto, AgreesWithSmoothingInPlace) {
    Buffer<std::uint8_t> scratch;
    test::atEveryLevel([&] {
        for (const auto& [rows, cols] : sizes) {
            const Bytes image = test::randomBytes(std::int64_t{rows} * cols, 3);
            const auto grey = test::GuardedBuffer<std::uint8_t>::copyOf(image);
            test::GuardedBuffer<std::uint8_t> out(image.size());
            smoothGreyInto(grey->data(), rows, cols, out.data(), scratch, nullptr);
            ASSERT_EQ(Bytes(out.begin(), out.end()), smoothed(image, rows, cols)) << rows << " x " << cols;
            EXPECT_TRUE(out.intact());
        }
    });
}

TEST(MotionReference, MeasuresAgainstTheLastAcceptedFrame) {
    for (const auto& [rows, cols] : sizes) {
        const std::int64_t pixels = std::int64_t{rows} * cols;
        const auto difference = [&, height = rows, width = cols](const Bytes& a, const Bytes& b) {
            const Bytes x = smoothed(a, height, width);
            const Bytes y = smoothed(b, height, width);
            return meanAbsoluteDifference(x.data(), y.data(), pixels);
        };
        const Bytes first = test::randomBytes(pixels, 1);
        const Bytes second = test::randomBytes(pixels, 2);
        Bytes third = second;
        for (std::uint8_t& sample : third) sample = static_cast<std::uint8_t>(sample / 3);
        MotionReference motion;
        EXPECT_EQ(motion.measure(first.data(), second.data(), rows, cols, nullptr),
                  difference(first, second));
        motion.accept();
        EXPECT_EQ(motion.measure(nullptr, third.data(), rows, cols, nullptr), difference(second, third));
        EXPECT_EQ(motion.measure(nullptr, first.data(), rows, cols, nullptr), difference(second, first))
            << "the third was not accepted";
        motion.accept();
        EXPECT_EQ(motion.measure(nullptr, first.data(), rows, cols, nullptr), 0);
        motion.setGrey(third.data(), pixels);
        EXPECT_EQ(motion.measure(nullptr, second.data(), rows, cols, nullptr), difference(third, second));
    }
}

}  // namespace
}  // namespace brantel
