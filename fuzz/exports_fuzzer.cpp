// Whole lives of the library out of fuzzer bytes: any order of the three functions, any numbers, any pixels.
// Only what the interface promises is kept: a frame has the size that initJoint was told.
#include <brantel/brantel.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

#include "texture.h"

namespace {

constexpr std::int32_t usualSide = 112;  // small, for many executions; corners need somewhat more than 82

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

struct Shape {
    std::int32_t rows = 1;
    std::int32_t cols = 1;
    std::int32_t channels = 1;

    std::size_t bytes() const { return static_cast<std::size_t>(rows) * cols * channels; }
};

/// Any number, the wild ones no rarer than the sensible ones.
std::int32_t anyNumber(FuzzedDataProvider& data, std::int32_t low, std::int32_t high) {
    constexpr std::array<std::int32_t, 8> wild = {std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max(),
                                                  std::numeric_limits<std::int32_t>::min() + 1,
                                                  -1,
                                                  0,
                                                  1,
                                                  65536,
                                                  -65536};
    switch (data.ConsumeIntegralInRange<int>(0, 15)) {
        case 15:
            return data.ConsumeIntegral<std::int32_t>();
        case 14:
            return data.PickValueInArray(wild);
        default:
            return data.ConsumeIntegralInRange(low, high);
    }
}

/// A camera over a texture without end. It moves by steps of a frame or less, so that frames have something in common.
struct Camera {
    std::int64_t x = 1000000;
    std::int64_t y = 1000000;

    void move(FuzzedDataProvider& data, const Shape& shape) {
        x += data.ConsumeIntegralInRange<int>(-shape.cols, shape.cols);
        y += data.ConsumeIntegralInRange<int>(-shape.rows, shape.rows) / 8;
    }
};

void fillWithTexture(const Camera& camera, const Shape& shape, std::uint8_t* frame) {
    const std::size_t bytes = static_cast<std::size_t>(shape.cols) * shape.channels;
    for (std::int64_t y = 0; y < shape.rows; ++y, frame += bytes)
        brantel::fuzz::textureRow(camera.x, camera.y + y, shape.cols, shape.channels, frame);
}

void fillWithBytes(FuzzedDataProvider& data, const Shape& shape, std::uint8_t* frame) {
    const auto pattern = data.ConsumeBytes<std::uint8_t>(data.ConsumeIntegralInRange<std::size_t>(0, 64));
    for (std::size_t i = 0; i < shape.bytes(); ++i)
        frame[i] = pattern.empty() ? 0 : pattern[i % pattern.size()];
}

using Frame = std::unique_ptr<std::uint8_t[]>;

/// Null, texture, or a pattern of fuzzer bytes; of exactly the promised size.
Frame makeFrame(FuzzedDataProvider& data, const Shape& shape, Camera& camera) {
    const int kind = data.ConsumeIntegralInRange<int>(0, 19);
    if (kind == 19) return nullptr;
    Frame frame(new std::uint8_t[shape.bytes()]);
    if (kind < 16) {
        fillWithTexture(camera, shape, frame.get());
        camera.move(data, shape);
    } else {
        fillWithBytes(data, shape, frame.get());
    }
    return frame;
}

class Host {
  public:
    ~Host() { uinitJoint(); }

    bool ready() const { return ready_; }

    void init(FuzzedDataProvider& data) {
        Shape wanted;
        const bool large = data.ConsumeIntegralInRange<int>(0, 3) < 3;  // else mostly too small for corners
        wanted.rows = anyNumber(data, large ? 84 : 1, usualSide);
        wanted.cols = anyNumber(data, large ? 84 : 1, usualSide);
        wanted.channels = data.ConsumeBool() ? 1 : anyNumber(data, 1, 4);
        if (data.ConsumeIntegralInRange<int>(0, 15) == 0) {  // two or three of these fill a new canvas
            wanted.rows = data.ConsumeIntegralInRange(84, 96);
            wanted.cols = data.ConsumeIntegralInRange(1500, 2200);
        }
        keepAffordable(wanted);
        // Refused frames change nothing: a mosaic that runs goes on.
        if (!initJoint(wanted.rows, wanted.cols, wanted.channels, anyNumber(data, -10, 6),
                       anyNumber(data, 0, 20000), anyNumber(data, 0, 20000), anyNumber(data, 0, 1),
                       anyNumber(data, 0, 1)))
            return;
        ready_ = true;
        shape_ = wanted;
        require(wanted.channels == 1 || wanted.channels == 3, "channels that init accepts");
    }

    void stitch(FuzzedDataProvider& data) {
        const Frame first = makeFrame(data, shape_, camera_);
        const Frame current = makeFrame(data, shape_, camera_);
        const auto outputs = data.ConsumeIntegralInRange<unsigned>(0, 31);
        MosaicCorner low{};
        MosaicCorner high{};
        StitchFlags flags{};
        const std::int32_t scale = data.ConsumeIntegralInRange<int>(0, 7) == 0 ? anyNumber(data, 0, 9) : 1;
        const std::int32_t x = anyNumber(data, -usualSide, usualSide);
        const std::int32_t y = anyNumber(data, -usualSide, usualSide);
        const std::int32_t result = stichingImagedJoint(
            first.get(), current.get(), data.ConsumeIntegralInRange(0, 3), scale, x, y, data.ConsumeBool(),
            outputs == 0 ? nullptr : &low, outputs == 1 ? nullptr : &high, outputs == 2 ? nullptr : &mosaic_,
            outputs == 3 ? nullptr : &flags);
        require(result >= -1 && result <= 1, "result codes");
        require(ready_ || result == -1, "no stitching without initialisation");
        if (outputs > 3) check(low, high, flags, result);
    }

    void uninit() {
        require(uinitJoint(), "teardown");
        ready_ = false;
        shape_ = {};
    }

  private:
    /// Sizes that initJoint may accept are brought down to what a fuzzer can afford.
    static void keepAffordable(Shape& wanted) {
        constexpr std::int64_t refusedArea = std::int64_t{1} << 31U;
        if (wanted.rows < 1 || wanted.cols < 1) return;
        const std::int64_t area = std::int64_t{wanted.rows} * wanted.cols;
        if (area >= refusedArea || area <= std::int64_t{96} * 2200) return;
        wanted.rows = wanted.rows % usualSide + 1;
        wanted.cols = wanted.cols % usualSide + 1;
    }

    void check(const MosaicCorner& low, const MosaicCorner& high, const StitchFlags& flags,
               std::int32_t result) const {
        if (mosaic_.empty()) {
            require(result == -1, "a mosaic where a frame was stitched");
            return;
        }
        require(low.x >= 0 && low.y >= 0 && low.x <= high.x && low.y <= high.y, "bounds");
        if (result != -1) {
            require(mosaic_.channels() == shape_.channels, "channels of the canvas");
            require(flags.frameX >= 0 && flags.frameY >= 0, "position of the frame");
        }
        unsigned sum = 0;  // every row of the canvas can be read
        for (int row = 0; row < mosaic_.rows; row += 500)
            sum += mosaic_.ptr(row)[mosaic_.cols * mosaic_.elemSize() - 1];
        require(sum < 256U * 100000U, "canvas rows");
    }

    bool ready_ = false;
    Shape shape_;
    Camera camera_;
    cv::Mat mosaic_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // The CPU is forced by a file in the current directory, so that becomes one of our own.
    char directory[] = "/tmp/brantel-fuzz-XXXXXX";
    if (mkdtemp(directory) == nullptr || chdir(directory) != 0) std::abort();
    std::FILE* file = std::fopen("stitch.txt", "w");
    if (file == nullptr) std::abort();
    std::fputs("1", file);
    std::fclose(file);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    Host host;
    for (int call = 0; call < 12 && data.remaining_bytes() > 0; ++call) {
        const int what = data.ConsumeIntegralInRange<int>(0, 11);
        if (what == 11) {
            host.uninit();
        } else if (what == 10 || (!host.ready() && what > 0)) {
            host.init(data);
        } else {
            host.stitch(data);
        }
    }
    return 0;
}
