// brantel-render: renders a scan that brantel-stitch has reported on.
#include "render/render_run.h"
#include "system/run_program.h"
#include "system/stop.h"

int main(int argc, char** argv) {
    return brantel::programs::runProgram("brantel-render", argc, argv, [](int count, char** arguments) {
        brantel::programs::RenderOptions options;
        const auto exitCode = brantel::programs::parseRenderCommandLine(count, arguments, options);
        if (exitCode) return *exitCode;
        brantel::programs::catchStopSignals();
        return brantel::programs::RenderRun(options).go();
    });
}
