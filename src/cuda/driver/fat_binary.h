// The kernels' machine code, as the build embeds it (embed.cmake).
#pragma once

namespace brantel::cuda_driver {

extern const unsigned char fatBinary[];
/// Of the toolkit that made it, e.g. 13000 for 13.0: an older driver may not know the code.
extern const int fatBinaryVersion;

}  // namespace brantel::cuda_driver
