// brantel-stages: every stage, the reference's beside the library's, as
// <stage>/<version>/<columns>x<rows>x<channels>.
#include <benchmark/benchmark.h>

#include "stages/stage.h"

namespace {

using namespace brantel::bench;

constexpr brantel::ImageDesc sizes[] = {
    {0, 1, 480, 640}, {0, 1, 960, 1280}, {0, 1, 2048, 2048}, {0, 1, 2048, 2448}};

void measure(benchmark::State& state, const Stage& stage, const brantel::ImageDesc& size, bool reference) {
    const Versions versions = stage.make(materialOf(size));
    const std::function<void()>& run = reference ? versions.reference : versions.library;
    if (versions.prepare) versions.prepare();
    run();  // memory is there from now on, as for every frame but the first
    for ([[maybe_unused]] auto _ : state) {
        if (versions.prepare) {
            state.PauseTiming();
            versions.prepare();
            state.ResumeTiming();
        }
        run();
        benchmark::ClobberMemory();
    }
}

void registerStage([[maybe_unused]] const Stage& stage, brantel::ImageDesc size, std::int32_t channels) {
    size.channels = channels;
    const std::string suffix =
        "/" + std::to_string(size.cols) + "x" + std::to_string(size.rows) + "x" + std::to_string(channels);
#ifndef __clang_analyzer__  // it takes what Google Benchmark keeps for a leak
    for (const bool reference : {true, false})
        benchmark::RegisterBenchmark(
            (stage.name + (reference ? "/reference" : "/library") + suffix).c_str(),
            [stage, size, reference](benchmark::State& state) { measure(state, stage, size, reference); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    for (const auto& stages : {featureStages(), estimationStages(), acceptanceStages(), composeStages()})
        for (const Stage& stage : stages)
            for (const brantel::ImageDesc& size : sizes)
                for (const std::int32_t channels : stage.channels) registerStage(stage, size, channels);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
