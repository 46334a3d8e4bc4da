#include "cuda/driver/driver_api.h"

#include "platform/platform.h"

namespace brantel::cuda_driver {

namespace {

struct Library {
    platform::DynamicLibrary library;
    DriverApi api;
    bool complete = false;

    Library() {
#if defined(_WIN32)
        complete = library.open("nvcuda.dll");
#else
        complete = library.open("libcuda.so.1");
#endif
#define BRANTEL_CUDA_LOOK_UP(name, parameters)                              \
    api.name = reinterpret_cast<decltype(api.name)>(library.symbol(#name)); \
    complete = complete && api.name != nullptr;
        BRANTEL_CUDA_DRIVER_FUNCTIONS(BRANTEL_CUDA_LOOK_UP)
#undef BRANTEL_CUDA_LOOK_UP
    }
};

}  // namespace

const DriverApi* driverApi() {
    static const Library& library = *new Library;
    return library.complete ? &library.api : nullptr;
}

}  // namespace brantel::cuda_driver
