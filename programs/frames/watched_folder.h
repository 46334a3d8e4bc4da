// A folder to which somebody else adds pictures.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>

#include "frames/picture_reader.h"

namespace brantel::programs {

/// Takes the pictures that are there in natural order, then new ones as they are complete: when size and time
/// of a file have not changed for a second. A file that could not be read is taken again when it changes.
class WatchedFolder : public FrameSource {
  public:
    /// @param idleSeconds  the end, when nothing has changed for so long; 0: only when a stop is asked for
    /// Throws InputError when the folder cannot be read.
    WatchedFolder(std::filesystem::path folder, double idleSeconds, const ReadingSettings& settings);

    bool next(Frame& frame) override;

  private:
    using Clock = std::chrono::steady_clock;

    struct File {
        std::int64_t bytes = -1;
        std::int64_t modified = 0;
        Clock::time_point since;  ///< unchanged
        bool taken = false;
        bool unread = false;  ///< taken, and could not be read
    };

    bool waitForFile();
    void look(bool first);
    bool note(const std::filesystem::path& path, bool first);
    bool isIdle() const;

    std::filesystem::path folder_;
    std::chrono::duration<double> idle_;
    PictureReader reader_;
    std::map<std::string, File> files_;
    std::deque<std::filesystem::path> complete_;
    Clock::time_point changed_ = Clock::now();
    std::string current_;
    std::size_t index_ = 0;
};

}  // namespace brantel::programs
