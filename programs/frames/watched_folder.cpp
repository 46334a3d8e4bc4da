#include "frames/watched_folder.h"

#include <algorithm>
#include <thread>

#include "frames/source.h"
#include "pictures/image_io.h"
#include "system/files.h"
#include "system/platform.h"
#include "system/stop.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr auto completeAfter = std::chrono::seconds(1);
constexpr auto lookAgain = std::chrono::milliseconds(100);

bool wasWrittenLongAgo(const FileFacts& facts) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto age = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() - facts.modified;
    return age > std::chrono::nanoseconds(completeAfter).count();
}

}  // namespace

WatchedFolder::WatchedFolder(fs::path folder, double idleSeconds, const ReadingSettings& settings)
    : folder_(std::move(folder)), idle_(idleSeconds), reader_(settings) {
    std::error_code error;
    if (!fs::is_directory(folder_, error))
        throw InputError(folder_.u8string() + " is no folder that can be watched; check the name");
    const fs::directory_iterator trial(folder_, error);
    if (error) throw InputError("cannot read the folder " + folder_.u8string() + ": " + error.message());
    look(true);
}

bool WatchedFolder::next(Frame& frame) {
    // Live input settles its range by its first frame: later ones may be hours away.
    while (!reader_.next(frame, [] { return std::vector<cv::Mat>(); }))
        if (!waitForFile()) return false;
    if (stopRequested()) return false;
    frame.index = index_++;
    if (frame.image.empty()) files_[current_].unread = true;
    return true;
}

/// Opens the next complete file; false at the end.
bool WatchedFolder::waitForFile() {
    while (complete_.empty()) {
        if (stopRequested() || isIdle()) return false;
        std::this_thread::sleep_for(lookAgain);
        look(false);
    }
    if (stopRequested()) return false;
    const fs::path path = complete_.front();
    complete_.pop_front();
    current_ = path.filename().u8string();
    reader_.open(path);
    changed_ = Clock::now();
    return true;
}

/// A folder that cannot be read for the moment, as on a network, is as good as unchanged.
void WatchedFolder::look(bool first) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error))
        if (isPictureName(entry->path()) && entry->path().filename().u8string().front() != '.' &&
            note(entry->path(), first))
            found.push_back(entry->path());
    std::sort(found.begin(), found.end(), [](const fs::path& a, const fs::path& b) {
        return naturallyBefore(a.filename().u8string(), b.filename().u8string());
    });
    complete_.insert(complete_.end(), found.begin(), found.end());
}

/// True when the file is to be taken now.
bool WatchedFolder::note(const fs::path& path, bool first) {
    const std::optional<FileFacts> facts = factsOf(path);
    if (!facts || !facts->regular) return false;
    const auto now = Clock::now();
    File& file = files_[path.filename().u8string()];
    if (facts->bytes != file.bytes || facts->modified != file.modified) {
        const bool old = first && wasWrittenLongAgo(*facts);
        const bool again = file.taken && !file.unread;  // was read already: not a new picture
        file = {facts->bytes, facts->modified, old ? now - completeAfter : now, again, false};
        if (!first) changed_ = now;
    }
    if (file.taken || now - file.since < completeAfter) return false;
    file.taken = true;
    return true;
}

bool WatchedFolder::isIdle() const {
    return idle_.count() > 0 && Clock::now() - changed_ > idle_;
}

}  // namespace brantel::programs
