// brantel-render: renders a scan that brantel-stitch has reported on.
#include <malloc.h>

#include "render/render_run.h"
#include "system/run_program.h"
#include "system/stop.h"

namespace {

/// Frames that are done with go back to the system at once. By itself the C library keeps pieces of their size for later ones.
void giveFramesBack() {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    giveFramesBack();
    return brantel::programs::runProgram("brantel-render", argc, argv, [](int count, char** arguments) {
        brantel::programs::RenderOptions options;
        const auto exitCode = brantel::programs::parseRenderCommandLine(count, arguments, options);
        if (exitCode) return *exitCode;
        brantel::programs::catchStopSignals();
        return brantel::programs::RenderRun(options).go();
    });
}
