// brantel-stages: every stage, the plain routine beside the library's, as
// <stage>/<version>/<columns>x<rows>x<channels>.
#include <benchmark/benchmark.h>

#include "stages/stage.h"

namespace {

using namespace brantel::bench;

constexpr brantel::FrameSize sizes[] = {{480, 640, 1}, {960, 1280, 1}, {2048, 2048, 1}, {2048, 2448, 1}};

void measure(benchmark::State& state, const Stage& stage, const brantel::FrameSize& size, bool plain) {
    const Twins twins = stage.make(materialOf(size));
    const std::function<void()>& run = plain ? twins.plain : twins.library;
    if (twins.prepare) twins.prepare();
    run();  // memory is there from now on, as for every frame but the first
    for ([[maybe_unused]] auto _ : state) {
        if (twins.prepare) {
            state.PauseTiming();
            twins.prepare();
            state.ResumeTiming();
        }
        run();
        benchmark::ClobberMemory();
    }
}

void registerStage([[maybe_unused]] const Stage& stage, brantel::FrameSize size, std::int32_t channels) {
    size.channels = channels;
    const std::string suffix =
        "/" + std::to_string(size.cols) + "x" + std::to_string(size.rows) + "x" + std::to_string(channels);
#ifndef __clang_analyzer__  // it takes what Google Benchmark keeps for a leak
    for (const bool plain : {true, false})
        benchmark::RegisterBenchmark(
            (stage.name + (plain ? "/plain" : "/library") + suffix).c_str(),
            [stage, size, plain](benchmark::State& state) { measure(state, stage, size, plain); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    for (const auto& stages : {featureStages(), estimationStages(), judgementStages(), composeStages()})
        for (const Stage& stage : stages)
            for (const brantel::FrameSize& size : sizes)
                for (const std::int32_t channels : stage.channels) registerStage(stage, size, channels);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
