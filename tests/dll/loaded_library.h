// Brantel.dll loaded as a host does it. The three functions of brantel.h, which this file defines for the
// test program, forward to the loaded library, so that Session and its kin work on it.
#pragma once

namespace brantel::test {

/// Loads Brantel.dll, which lies beside the test program; throws when that fails or a function is missing.
void loadLibrary();
/// One FreeLibrary for one loadLibrary.
void freeLibrary();
/// True while the library is mapped into this process, whoever holds it.
bool libraryIsMapped();

struct LoadedLibrary {
    LoadedLibrary() { loadLibrary(); }
    ~LoadedLibrary() { freeLibrary(); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;
};

}  // namespace brantel::test
