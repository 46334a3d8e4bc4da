// Stands in where the build has no video decoder.
#include "frames/video.h"
#include "pictures/image_io.h"
#include "pictures/kinds.h"
#include "system/files.h"

namespace brantel::programs {

const char* const videoInputs = "; no videos and cameras in this build";

std::unique_ptr<FrameSource> openVideo(const std::string& file) {
    const std::string kind = kindOf(std::filesystem::u8path(file));
    throw InputError(file + " is " + (kind.empty() ? "of a kind that is not known" : kind) +
                     "; this build reads " + readableKinds +
                     " pictures and no videos: save the frames as pictures");
}

std::unique_ptr<FrameSource> openCamera(const std::string& input) {
    throw InputError(withoutPassword(input) +
                     " cannot be opened: this build has no cameras and streams; use --watch or --raw");
}

}  // namespace brantel::programs
