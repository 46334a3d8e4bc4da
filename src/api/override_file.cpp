#include "api/override_file.h"

#include <cctype>
#include <cstdio>

namespace brantel {

namespace {

/// Spaces, a sign and decimal digits of any number, as "%d" reads them, but without its limits: a number that does not
/// fit into an int is nonzero all the same.
bool startsWithNonzeroInteger(FILE* file) {
    int c = std::fgetc(file);
    while (c != EOF && std::isspace(c) != 0) c = std::fgetc(file);
    if (c == '+' || c == '-') c = std::fgetc(file);
    while (c == '0') c = std::fgetc(file);
    return c >= '1' && c <= '9';
}

bool fileHoldsNonzero() {
    FILE* file = std::fopen("stitch.txt", "r");
    if (file == nullptr) return false;
    const bool nonzero = startsWithNonzeroInteger(file);
    std::fclose(file);
    return nonzero;
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
    const bool forced = fileHoldsNonzero();
    closeStandardInputOnce();
    return forced;
}

}  // namespace brantel
