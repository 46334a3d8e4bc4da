// Stands in where the build has no TIFF library.
#include "pictures/stored_file.h"

namespace brantel::programs {

std::unique_ptr<StoredFile> openTiff(const std::filesystem::path& /*path*/) {
    return nullptr;
}

}  // namespace brantel::programs
