#include "opencl/cl_api.h"

#include "platform/platform.h"

namespace brantel {

namespace {

/// The one thing here that belongs to the process and not to a mosaic: the loader and its functions are the
/// same for all of them.
struct Runtime {
    platform::DynamicLibrary library;
    ClApi api;
    bool complete = false;

    Runtime() {
#if defined(_WIN32)
        const char* const names[] = {"OpenCL.dll"};
#else
        const char* const names[] = {"libOpenCL.so.1", "libOpenCL.so"};
#endif
        for (const char* name : names)
            if (library.open(name)) break;
        complete = library.isOpen();
#define BRANTEL_CL_LOOK_UP(name)                                            \
    api.name = reinterpret_cast<decltype(api.name)>(library.symbol(#name)); \
    complete = complete && api.name != nullptr;
        BRANTEL_CL_FUNCTIONS(BRANTEL_CL_LOOK_UP)
#undef BRANTEL_CL_LOOK_UP
    }
};

}  // namespace

const ClApi* clApi() {
    static const Runtime& runtime = *new Runtime;
    return runtime.complete ? &runtime.api : nullptr;
}

}  // namespace brantel
