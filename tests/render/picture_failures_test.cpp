// Pictures that cannot be finished leave nothing behind.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <stdexcept>

#include "picture/picture_file.h"
#include "picture_folder.h"
#include "placed_scan.h"
#include "support/scratch_directory.h"

namespace brantel::test {
namespace {

namespace fs = std::filesystem;
using render::formatOf;
using render::Progress;
using render::writePicture;

/// Noise: its files are large.
ScanSettings noise() {
    ScanSettings settings;
    settings.frameSize = {400, 300};
    settings.step = {350, 260};
    return settings;
}

void write(PlacedScan& scan, const fs::path& path, const Progress& progress = {}) {
    writePicture({path, *formatOf(path), 0, 90}, scan.parts(), progress);
}

class UnfinishedPicture : public testing::TestWithParam<const char*> {
  protected:
    UnfinishedPicture() {
        for (const fs::path& file : render::filesOf({path(), *formatOf(path())})) {
            if (file.extension().empty()) {
                fs::create_directory(file);
                scratch_.write(file / "tile", "old");
            } else {
                scratch_.write(file, "old");
            }
        }
        before_ = contentsOf(".");
    }

    fs::path path() const { return std::string("picture") + GetParam(); }
    bool folderIsAsBefore() const { return contentsOf(".") == before_; }

  private:
    ScratchDirectory scratch_;
    std::map<std::string, std::string> before_;
};

TEST_P(UnfinishedPicture, IsGoneWhenCancelled) {
    for (const double share : {0.0, 0.3, 0.9}) {
        PlacedScan scan(noise());
        const auto stop = [&](std::size_t done, std::size_t total) {
            return static_cast<double>(done) < share * static_cast<double>(total);
        };
        EXPECT_THROW(write(scan, path(), stop), render::Cancelled);
        EXPECT_TRUE(folderIsAsBefore()) << share;
    }
}

TEST_P(UnfinishedPicture, IsGoneWhenTheProgressThrows) {
    PlacedScan scan(noise());
    const auto fail = [](std::size_t, std::size_t) -> bool { throw std::domain_error("from progress"); };
    EXPECT_THROW(write(scan, path(), fail), std::domain_error);
    EXPECT_TRUE(folderIsAsBefore());
}

TEST_P(UnfinishedPicture, IsGoneWhenAReaderFails) {
    for (const std::size_t frame : {0, 4, 8}) {
        PlacedScan scan(noise());
        scan.frames.before = [=](std::size_t number) {
            if (number == frame) throw std::domain_error("from the reader");
        };
        EXPECT_THROW(write(scan, path()), std::domain_error);
        EXPECT_TRUE(folderIsAsBefore());
    }
}

/// No file can grow beyond some bytes, which is what writers see of a full disk.
class FilesEndAt {
  public:
    explicit FilesEndAt(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FilesEndAt(const FilesEndAt&) = delete;
    FilesEndAt& operator=(const FilesEndAt&) = delete;
    ~FilesEndAt() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

  private:
    void (*handler_)(int);
    rlimit before_{};
};

TEST_P(UnfinishedPicture, IsGoneWhenTheDiskIsFull) {
    for (const rlim_t bytes : {0, 1, 100, 4096, 20000}) {
        PlacedScan scan(noise());
        bool thrown = false;
        std::string message;
        {
            const FilesEndAt limit(bytes);
            try {
                write(scan, path());
            } catch (const std::runtime_error& error) {
                thrown = true;
                message = error.what();
            }
        }
        EXPECT_TRUE(thrown) << bytes;
        EXPECT_NE(message.find("picture"), std::string::npos) << message;
        EXPECT_TRUE(folderIsAsBefore()) << bytes;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, UnfinishedPicture,
                         testing::Values(".tif", ".ome.tif", ".dzi", ".png", ".jpg"));

TEST(PictureInTheWay, OfAnotherKindStays) {
    const ScratchDirectory scratch;
    for (const char* name : {"picture.tif", "picture.png", "picture.dzi"}) {
        fs::create_directories(fs::path(name) / "inside");
        const auto before = contentsOf(".");
        PlacedScan scan(noise());
        EXPECT_THROW(write(scan, name), std::runtime_error);
        EXPECT_EQ(contentsOf("."), before);
    }
    fs::remove_all("picture.dzi");
    scratch.write("picture_files", "a file where the tiles belong");
    const auto before = contentsOf(".");
    PlacedScan scan(noise());
    EXPECT_THROW(write(scan, "picture.dzi"), std::runtime_error);
    EXPECT_EQ(contentsOf("."), before);
    EXPECT_THROW(write(scan, "nowhere/picture.tif"), std::runtime_error);
    EXPECT_EQ(contentsOf("."), before);
}

}  // namespace
}  // namespace brantel::test
