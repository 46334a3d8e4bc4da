#include "gpu/kernels.h"
#include "gpu/kernels.inc"
