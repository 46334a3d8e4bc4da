#include "cuda/driver/kernel_names.h"

#include <cstdio>
#include <cstring>

#include "gpu/kernels.h"

namespace brantel::cuda_driver {

namespace {

template <class P>
constexpr char typeLetter = 'i';
template <>
constexpr char typeLetter<unsigned char*> = 'h';
template <>
constexpr char typeLetter<float*> = 'f';

/// The name of a function without a namespace in the Itanium C++ ABI; types holds a letter for each
/// parameter. A pointer type that comes again is written S_ where it was the first one, S0_ where it was the
/// second.
KernelName mangled(const void* handle, const char* name, const char* types) {
    KernelName result{handle, {}};
    char* at = result.text;
    at += std::snprintf(at, sizeof result.text, "_Z%u%s", static_cast<unsigned>(std::strlen(name)), name);
    char pointers[3] = {};
    for (; *types != '\0'; ++types) {
        if (*types == 'i') {
            *at++ = 'i';
        } else if (const char* seen = std::strchr(pointers, *types)) {
            for (const char* c = seen == pointers ? "S_" : "S0_"; *c != '\0'; ++c) *at++ = *c;
        } else {
            pointers[std::strlen(pointers)] = *types;
            *at++ = 'P';
            *at++ = *types;
        }
    }
    return result;
}

template <class... P>
KernelName named(const char* name, void (*kernel)(P...)) {
    const char types[] = {typeLetter<P>..., '\0'};
    return mangled(reinterpret_cast<const void*>(kernel), name, types);
}

}  // namespace

const std::array<KernelName, kernelCount>& kernelNames() {
#define KERNEL_ENTRY(name, parameters) named(#name, ::name),
    static const std::array<KernelName, kernelCount> names = {
#include "gpu/kernel_list.inc"
    };
#undef KERNEL_ENTRY
    return names;
}

}  // namespace brantel::cuda_driver
