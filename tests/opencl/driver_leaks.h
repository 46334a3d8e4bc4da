// To be included once per program that calls OpenCL drivers: what they never free is theirs.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libpocl\nleak:libLLVM\nleak:libOpenCL\nleak:libclang\nleak:libhwloc\n";
}
#endif
