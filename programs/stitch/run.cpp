#include "stitch/run.h"

#include "stitch/safety.h"
#include "stitch/stitching_run.h"
#include "system/files.h"
#include "system/stop.h"

namespace brantel::programs {

namespace {

Expectation expectationFrom(const Options& options, const Inputs& inputs) {
    if (options.expected) return Expectation(*options.expected);
    Expectation expectation;
    if (options.grid) expectation = Expectation(*options.grid);
    if (!options.positions.empty()) {
        Positions positions = Positions::read(std::filesystem::u8path(options.positions), options.pixelSize);
        if (!inputs.pictures.empty()) positions.keepOnly(inputs.pictures);
        expectation = Expectation(std::move(positions));
    }
    expectation.flip(options.flipX, options.flipY);
    return expectation;
}

void requireGridOf(const Options& options, std::size_t frames) {
    if (!options.grid || frames == 0 || frames == options.grid->frames()) return;
    throw InputError("--grid says " + std::to_string(options.grid->columns) + " x " +
                     std::to_string(options.grid->rows) + " frames, but there are " + std::to_string(frames) +
                     "; correct it, or use --positions");
}

}  // namespace

int run(const Options& options) {
    const Inputs inputs = listInputs(options.source.inputs);
    std::set<std::string> taken = requireSafe(options, inputs);
    Expectation expectation = expectationFrom(options, inputs);
    catchStopSignals();
    std::unique_ptr<FrameSource> source = openSource(options.source, inputs);
    requireGridOf(options, source->count());
    return StitchingRun(options, std::move(source), std::move(expectation), std::move(taken)).go();
}

}  // namespace brantel::programs
