// brantel-stitch: stitches pictures or a video into a mosaic.
#include "stitch/run.h"
#include "system/run_program.h"

int main(int argc, char** argv) {
    return brantel::programs::runProgram("brantel-stitch", argc, argv, [](int count, char** arguments) {
        brantel::programs::Options options;
        const auto exitCode = brantel::programs::parseCommandLine(count, arguments, options);
        return exitCode ? *exitCode : brantel::programs::run(options);
    });
}
