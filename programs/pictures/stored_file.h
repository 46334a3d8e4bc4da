// A file with pictures in it, read as it is stored.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "pictures/channels.h"

namespace brantel::programs {

/// One picture.
struct Stored {
    cv::Mat samples;  ///< 1 or 3 channels (blue, green, red) of any depth; empty if it cannot be read
    std::string problem = {};  ///< then why, for instance "it is a PNG picture that is damaged or cut off"
};

/// What the pages of a stack are, where they are not one frame each.
struct StackPlan {
    std::string what;       ///< "3 channels and 5 focus planes of 20 places"
    std::size_t step = 1;   ///< pages from one place to the next
    std::size_t count = 0;  ///< places
};

class StoredFile {
  public:
    virtual ~StoredFile() = default;

    /// 1 for what cannot be read at all, too.
    virtual std::size_t pages() const { return 1; }

    /// Transparency is dropped. Asking for a number of channels saves decoding the others; pictures of more
    /// than 8 bits may come as they are stored all the same. Throws std::bad_alloc.
    virtual Stored read(std::size_t page, Channels channels) = 0;

    /// Set when the file says that its pages are several views of each place.
    virtual std::optional<StackPlan> plan() const { return std::nullopt; }
};

/// Opens a file; what is wrong with it is told when it is read.
std::unique_ptr<StoredFile> openStored(const std::filesystem::path& path);

/// The same for a TIFF file, where the build can read them; null for other files.
std::unique_ptr<StoredFile> openTiff(const std::filesystem::path& path);

/// True when this build reads files of the kind, as kindOf() names it.
bool isReadableKind(const std::string& kind);

/// Why a picture that could not be decoded could not: by what the file is and what this build reads.
std::string whyUnreadable(const std::filesystem::path& path);

}  // namespace brantel::programs
