// Highway, and whether it has vectors at this instruction level. Without any, plain loops serve better.
#pragma once

#include <hwy/highway.h>

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
#define BRANTEL_VECTORS 0
#else
#define BRANTEL_VECTORS 1
#endif
