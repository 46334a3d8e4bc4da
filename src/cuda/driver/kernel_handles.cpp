// The host functions whose addresses are the kernels' launch handles; nvcc makes them where its runtime is
// used. Nothing calls them. Each has code of its own, since linkers may merge functions that are alike.
#include "gpu/kernels.h"

namespace {

const char* volatile calledOnTheHost = nullptr;

}  // namespace

#define KERNEL_ENTRY(name, parameters) \
    void name parameters {             \
        calledOnTheHost = #name;       \
    }
#include "gpu/kernel_list.inc"
