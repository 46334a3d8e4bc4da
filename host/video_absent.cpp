// Stands in where the build has no video decoder.
#include "source.h"

namespace host {

std::unique_ptr<FrameSource> openVideo(const std::filesystem::path& /*path*/, Channels /*channels*/) {
    return nullptr;
}

}  // namespace host
