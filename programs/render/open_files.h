// Files that stay open because more of their pages will be read.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "pictures/stored_file.h"

namespace brantel::programs {

/// Opening a stack means going through all of its pages. Every file is used by one thread at a time, so one that several
/// threads read is open several times.
class OpenFiles {
  public:
    /// One that waits, or a new one.
    std::unique_ptr<StoredFile> take(const std::filesystem::path& path);
    /// Keeps it for the next one who reads from it; files of one page are not worth it.
    void giveBack(const std::filesystem::path& path, std::unique_ptr<StoredFile> file);

  private:
    struct Idle {
        std::filesystem::path path;
        std::unique_ptr<StoredFile> file;
    };

    std::mutex mutex_;
    std::vector<Idle> idle_;  // the one that came back last is the last
};

}  // namespace brantel::programs
