#include "frames/kept_frames.h"

#include <cstdio>

#include "pictures/image_io.h"
#include "system/files.h"
#include "system/out_of_memory.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw OutputError("cannot make the folder " + folder.u8string() + ": " + error.message());
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (isPictureName(entry->path()))
            throw InputError("the folder " + folder.u8string() +
                             " for the kept frames holds pictures already; name an empty one");
    requireWritable(folder / "frame_000001.png");
}

void describe(const fs::path& path, Origin& origin) {
    std::error_code error;
    origin.kept = fs::absolute(path, error).lexically_normal().u8string();
    const std::optional<FileFacts> facts = factsOf(path);
    if (!facts) return;
    origin.keptBytes = facts->bytes;
    origin.keptModified = facts->modified;
}

class KeepingFrames : public FrameSource {
  public:
    KeepingFrames(std::unique_ptr<FrameSource> source, fs::path folder)
        : source_(std::move(source)), folder_(std::move(folder)) {}

    bool next(Frame& frame) override {
        if (!source_->next(frame)) return false;
        if (frame.image.empty()) return true;
        char name[40];
        std::snprintf(name, sizeof name, "frame_%06zu.png", ++written_);
        const fs::path path = folder_ / name;
        try {
            writeQuickly(path, frame.image);
            describe(path, frame.origin);
        } catch (const std::exception& error) {
            frame.notKept = isOutOfMemory(error) ? "out of memory" : error.what();
        }
        return true;
    }

    std::size_t count() const override { return source_->count(); }
    std::size_t dropped() const override { return source_->dropped(); }
    std::string remark() const override { return source_->remark(); }

  private:
    std::unique_ptr<FrameSource> source_;
    fs::path folder_;
    std::size_t written_ = 0;
};

}  // namespace

std::unique_ptr<FrameSource> keepingFrames(std::unique_ptr<FrameSource> source, const fs::path& folder) {
    makeFolder(folder);
    return std::make_unique<KeepingFrames>(std::move(source), folder);
}

}  // namespace brantel::programs
