// brantel-coarse: what the coarse shift costs per frame and per comparison, on one thread, as
// <step>/<columns>x<rows>. The grey conversion is not part of it.
#include <benchmark/benchmark.h>

#include <string>

#include "coarse/coarse_shift.h"
#include "support/picture.h"

namespace {

using namespace brantel;
using session::CoarseFrame;
using session::CoarseMatcher;

/// Two frames that share a quarter.
struct Frames {
    std::int32_t rows;
    std::int32_t cols;
    std::vector<std::uint8_t> previous;
    std::vector<std::uint8_t> current;

    Frames(std::int32_t rows, std::int32_t cols) : rows(rows), cols(cols) {
        const test::Picture picture = test::makePicture(test::Texture::fine, rows, 2 * cols, 1, 7);
        previous = picture.window(0, 0, rows, cols);
        current = picture.window(cols * 3 / 4, 0, rows, cols);
        test::addNoise(current, 3, 1);
    }
};

void prepare(benchmark::State& state, const Frames& frames) {
    CoarseMatcher matcher(frames.rows, frames.cols);
    CoarseFrame frame;
    for ([[maybe_unused]] auto _ : state) matcher.prepare(frames.current.data(), frame);
}

void match(benchmark::State& state, const Frames& frames) {
    CoarseMatcher matcher(frames.rows, frames.cols);
    CoarseFrame previous;
    CoarseFrame current;
    matcher.prepare(frames.previous.data(), previous);
    matcher.prepare(frames.current.data(), current);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(
            matcher.match(previous, frames.previous.data(), current, frames.current.data()));
}

}  // namespace

int main(int argc, char** argv) {
    for (const auto& [rows, cols] : {std::pair{480, 640}, {960, 1280}, {2048, 2448}}) {
        const Frames frames(rows, cols);
        const std::string size = "/" + std::to_string(cols) + "x" + std::to_string(rows);
#ifndef __clang_analyzer__  // it takes what Google Benchmark keeps for a leak
        for (const auto& [name, step] : {std::pair{"prepare", prepare}, {"match", match}})
            benchmark::RegisterBenchmark((name + size).c_str(), [step = step,
                                                                 frames](benchmark::State& state) {
                step(state, frames);
            })->Unit(benchmark::kMillisecond);
#endif
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
