// Preloaded into a process it hides the OpenCL runtime: a machine without one.
#include <dlfcn.h>

#include <cstring>

extern "C" __attribute__((visibility("default"))) void* dlopen(const char* name, int flags) noexcept {
    if (name != nullptr && std::strstr(name, "libOpenCL") != nullptr) return nullptr;
    using Open = void* (*)(const char*, int);
    static const auto real = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
    return real(name, flags);
}
