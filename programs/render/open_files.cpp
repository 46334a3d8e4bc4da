#include "render/open_files.h"

#include <algorithm>

namespace brantel::programs {

namespace {

constexpr std::size_t mostIdle = 64;

}  // namespace

std::unique_ptr<StoredFile> OpenFiles::take(const std::filesystem::path& path) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found =
            std::find_if(idle_.begin(), idle_.end(), [&](const Idle& idle) { return idle.path == path; });
        if (found != idle_.end()) {
            std::unique_ptr<StoredFile> file = std::move(found->file);
            idle_.erase(found);
            return file;
        }
    }
    return openStored(path);
}

void OpenFiles::giveBack(const std::filesystem::path& path, std::unique_ptr<StoredFile> file) {
    if (file->pages() < 2) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    idle_.push_back({path, std::move(file)});
    if (idle_.size() > mostIdle) idle_.erase(idle_.begin());
}

}  // namespace brantel::programs
