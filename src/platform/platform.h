// Everything that differs by operating system.
#pragma once

#include <pthread.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace brantel::platform {

/// Hands one line to the debugger (OutputDebugStringA on Windows). Elsewhere it is dropped unless the
/// environment variable BRANTEL_DEBUG_OUTPUT names a file ("-" is standard error).
void debugOutput(const char* line);

/// What this processor and system can run: AVX2 with BMI2; AVX-512 F, BW, CD, DQ and VL.
bool processorHasAvx2();
bool processorHasAvx512();

/// The number of this process.
std::int64_t processId();

/// From here to restoreCancellation(), which gets the result, no other thread can cancel this one: it would be unwound
/// out of the library's middle. Restoring may not return, since a request that came meanwhile acts there, so nothing may
/// be left to unwind by then. Windows knows no cancellation.
int disableCancellation();
void restoreCancellation(int state);

/// Keeps this library in memory when the host unloads it: threads that outlive it still run its code, and
/// canvases in the host's hands call back into it.
void keepLibraryLoaded();

/// The processors that a thread may be woken on: all that it may use but the waker's own, as long as another one is left.
/// Linux likes to put a thread beside the one that wakes it and moves it away milliseconds later only; a call with two
/// threads is over by then and took as long as with one. Windows looks for an idle processor of itself.
class OtherProcessors {
  public:
    /// To be called by the waker before it wakes the thread. What the system refuses stays as it is.
    void keepOffMine(pthread_t thread);

  private:
    static constexpr std::size_t words = 16;  // for 1024 processors, as many as the system's usual set has

    std::array<std::uint64_t, words> usable_{};  // by the thread, as it was started
    bool isKnown_ = false;
    int avoided_ = -1;
};

/// Zero-filled memory straight from the system: pages cost nothing until they are touched. Null when refused.
void* allocateZeroPages(std::size_t bytes);

/// Up to how many bytes of such memory may be asked for at once when so many are going to be used soon. Linux only gives
/// address space, unless that is limited, which the host has to live in, too; Windows counts every byte against its commit
/// limit.
std::int64_t largestReservation(std::int64_t soon);
void freeZeroPages(void* memory, std::size_t bytes);

/// Makes the system provide the pages of a range that is about to be read and written. A page that is read
/// first would be mapped twice, the second time at the price of interrupting all other processors.
void touchPages(void* memory, std::size_t bytes);

/// The same for memory that others may be reading meanwhile: nothing is written. Does nothing where the system cannot.
void populatePages(void* memory, std::size_t bytes);

/// A dynamic library opened by name, closed with the object.
class DynamicLibrary {
  public:
    DynamicLibrary() = default;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary() { close(); }

    /// Only where the system keeps its own and its drivers' libraries: quicker to find absent, and a file of
    /// that name beside the host is not run.
    bool open(const char* name);
    void close();
    bool isOpen() const { return handle_ != nullptr; }
    void* symbol(const char* name) const;

  private:
    void* handle_ = nullptr;
};

}  // namespace brantel::platform
