// Everything that differs by operating system.
#pragma once

#include <cstddef>

namespace brantel::platform {

/// Hands one line to the debugger (OutputDebugStringA on Windows). Elsewhere it is dropped unless the
/// environment variable BRANTEL_DEBUG_OUTPUT names a file ("-" is standard error).
void debugOutput(const char* line);

/// Seconds since some fixed moment; never goes backwards.
double seconds();

/// What this processor and system can run: AVX2 with BMI2; AVX-512 F, BW, CD, DQ and VL.
bool processorHasAvx2();
bool processorHasAvx512();

/// Keeps this library in memory when the host unloads it: threads that outlive it still run its code, and
/// canvases in the host's hands call back into it.
void keepLibraryLoaded();

/// Zero-filled memory straight from the system: pages cost nothing until they are touched. Null when refused.
void* allocateZeroPages(std::size_t bytes);
void freeZeroPages(void* memory, std::size_t bytes);

/// Makes the system provide the pages of a range that is about to be read and written. A page that is read
/// first would be mapped twice, the second time at the price of interrupting all other processors.
void touchPages(void* memory, std::size_t bytes);

/// A dynamic library opened by name, closed with the object.
class DynamicLibrary {
  public:
    DynamicLibrary() = default;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary() { close(); }

    bool open(const char* name);
    /// Only where the system keeps its own and its drivers' libraries: quicker to find absent, and a file of
    /// that name beside the host is not run.
    bool openFromSystem(const char* name);
    void close();
    bool isOpen() const { return handle_ != nullptr; }
    void* symbol(const char* name) const;

  private:
    void* handle_ = nullptr;
};

}  // namespace brantel::platform
