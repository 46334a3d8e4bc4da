#include "api/override_file.h"

#include <cstdio>

namespace brantel {

namespace {

int readNumber() {
    int number = 0;
    if (FILE* file = std::fopen("stitch.txt", "r")) {
        if (std::fscanf(file, "%d", &number) != 1) number = 0;  // NOLINT(cert-err34-c)
        std::fclose(file);
    }
    return number;
}

void closeStandardInputOnce() {
    // Closing it again would close whatever file has taken descriptor 0 meanwhile.
    static bool closed = false;
    if (closed) return;
    closed = true;
    std::fclose(stdin);
}

}  // namespace

bool overrideFileForcesCpu() {
    const bool forced = readNumber() != 0;
    closeStandardInputOnce();
    return forced;
}

}  // namespace brantel
