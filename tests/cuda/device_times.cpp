// cuda_device_times ROWS COLUMNS: milliseconds per stitch call and per stage on the device, beside the
// processor's calls. Not a test: it asserts nothing. Ends with 77 without a device.
#include <cuda_runtime_api.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "api/process_log.h"
#include "cuda/state.h"
#include "support/camera_path.h"
#include "support/output_capture.h"

namespace {

using namespace brantel;
using namespace brantel::test;

double milliseconds(const std::function<void()>& run) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    run();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double medianOf(const std::function<void()>& run) {
    std::vector<double> times;
    times.reserve(11);
    for (int i = 0; i < 11; ++i) times.push_back(milliseconds(run));
    return median(times);
}

constexpr std::int32_t channels = 3;

SessionOptions optionsFor(std::int32_t rows, std::int32_t cols, bool onCpu) {
    SessionOptions options{rows, cols, channels};
    options.forceCpu = onCpu;
    return options;
}

/// Median of the merging calls of a stream.
double perCall(const SessionOptions& options, const Picture& picture) {
    std::vector<double> times;
    captureOutput([&] {
        Session session(options);
        const auto frameAt = [&](int i) {
            const std::int32_t x = i % 2 == 0 ? 0 : options.cols / 4;
            return picture.window(x, 8 * i, options.rows, options.cols);
        };
        Frame first = frameAt(0);
        session.start(first, frameAt(1));
        for (int i = 2; i < 12; ++i) {
            const Frame frame = frameAt(i);
            times.push_back(milliseconds([&] { session.next(frame); }));
        }
    });
    return median(times);
}

void printStages(const Picture& picture, std::int32_t rows, std::int32_t cols) {
    captureOutput([&] {
        CudaEngine engine(processLogSink());
        if (!engine.initJoint({rows, cols, channels, 1, 20000, 20000}, {1, 0})) return;
        Frame first = picture.window(0, 0, rows, cols);
        Frame second = picture.window(cols / 4, 8, rows, cols);
        engine.stichingImagedJoint(
            {first.data(), second.data(), 0, 1, {}, nullptr, nullptr, nullptr, nullptr});
        const double upload =
            medianOf([&] { toDevice(engine.currentSide.frame, second.data(), engine.frame.bytes()); });
        const double features = medianOf([&] {
            engine.currentSide.features.corners.clear();
            engine.describeSide(engine.currentSide);
        });
        const double motion = medianOf([&] {
            std::int64_t measure = 0;
            engine.measureMotion(&measure);
        });
        const double weights = medianOf([&] {
            engine.seamBlend(engine.previousSide.frame.data(), engine.currentSide.frame.data(), rows, cols,
                             channels, engine.weights.data());
            cudaDeviceSynchronize();
        });
        std::fprintf(stderr, "  frame to the device  %8.3f\n  features of one side %8.3f\n", upload,
                     features);
        std::fprintf(stderr, "  motion test          %8.3f\n  seam weights         %8.3f\n", motion, weights);
    });
}

}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    if (cudaGetDeviceCount(&count) != cudaSuccess || count == 0) {
        std::puts("no CUDA device: nothing was measured");
        return 77;
    }
    const std::int32_t rows = argc > 2 ? std::atoi(argv[1]) : 960;
    const std::int32_t cols = argc > 2 ? std::atoi(argv[2]) : 1280;
    const Picture picture = makePicture(Texture::fine, rows + 100, cols + cols / 4, channels, 8);
    std::fprintf(stderr, "%d x %d x %d, milliseconds:\n", cols, rows, channels);
    std::fprintf(stderr, "  call, processor      %8.3f\n", perCall(optionsFor(rows, cols, true), picture));
    std::fprintf(stderr, "  call, CUDA           %8.3f\n", perCall(optionsFor(rows, cols, false), picture));
    printStages(picture, rows, cols);
    return 0;
}
