// brantel-stitch: stitches pictures or a video into a mosaic.
#include "run.h"
#include "run_program.h"

int main(int argc, char** argv) {
    return host::runProgram("brantel-stitch", argc, argv, [](int count, char** arguments) {
        host::Options options;
        const auto exitCode = host::parseCommandLine(count, arguments, options);
        return exitCode ? *exitCode : host::run(options);
    });
}
