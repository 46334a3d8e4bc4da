// The files that a run of brantel-render writes.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "picture/picture_file.h"
#include "render/frame_files.h"
#include "render/options.h"

namespace brantel::programs {

/// a/scan-2.ome.tif for a/scan.ome.tif and "-2".
std::filesystem::path numberedName(const std::filesystem::path& path, const std::string& suffix);

class Outputs {
  public:
    /// Compares everything that is read with everything that will be written, and sees whether that can be written. Throws
    /// InputError or OutputError.
    Outputs(const RenderOptions& options, const std::vector<FrameFile>& frames);

    /// Where the n-th picture goes, from 1: none of the files that the run reads or has written is replaced.
    std::filesystem::path pictureName(std::size_t number);

    /// A name that no file has, for a picture that its own format cannot hold.
    std::filesystem::path tiffInsteadOf(const std::filesystem::path& picture);

  private:
    bool isFree(const std::filesystem::path& picture) const;
    void take(const std::filesystem::path& picture);

    std::filesystem::path asked_;
    std::set<std::string> taken_;                   // identities of files
    std::vector<std::filesystem::path> filesRead_;  // resolved
};

}  // namespace brantel::programs
