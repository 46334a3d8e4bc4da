#include "frames/watched_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "pictures/image_io.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;
using Clock = std::chrono::steady_clock;

void writeFrame(const std::string& name, int value) {
    writePicture(name, cv::Mat(20, 30, CV_8UC1, cv::Scalar(value)));
}

/// As if it had been there for a minute.
void age(const std::string& name) {
    fs::last_write_time(name, fs::file_time_type::clock::now() - std::chrono::minutes(1));
}

int valueOf(const Frame& frame) {
    return frame.image.empty() ? -1 : frame.image.at<std::uint8_t>(0, 0);
}

TEST(WatchedFolder, TakesWhatIsThereInNaturalOrderAtOnce) {
    const ScratchDirectory directory;
    for (const int k : {10, 2, 1}) {
        writeFrame("f" + std::to_string(k) + ".png", k);
        age("f" + std::to_string(k) + ".png");
    }
    WatchedFolder folder(".", 0.3, {});
    const auto start = Clock::now();
    Frame frame;
    for (const int k : {1, 2, 10}) {
        ASSERT_TRUE(folder.next(frame));
        EXPECT_EQ(valueOf(frame), k);
    }
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(800)) << "old files are complete";
    EXPECT_EQ(frame.index, 2U);
    EXPECT_FALSE(folder.next(frame));
}

TEST(WatchedFolder, WaitsForTheRestOfAHalfWrittenFile) {
    const ScratchDirectory directory;
    writeFrame("whole.png", 77);
    const std::vector<std::uint8_t> bytes = readFile("whole.png");
    fs::remove("whole.png");
    WatchedFolder folder(".", 3, {});
    std::thread writer([&] {
        std::ofstream file("f.png", std::ios::binary);
        for (std::size_t k = 0; k < bytes.size(); ++k) {
            file.put(static_cast<char>(bytes[k])).flush();
            if (k % (bytes.size() / 4) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    });
    Frame frame;
    const bool taken = folder.next(frame);
    writer.join();
    ASSERT_TRUE(taken);
    EXPECT_EQ(valueOf(frame), 77) << frame.problem;
    EXPECT_FALSE(folder.next(frame)) << "every file is taken once";
}

TEST(WatchedFolder, TakesAFileAgainThatCouldNotBeRead) {
    const ScratchDirectory directory;
    writeFrame("whole.png", 77);
    directory.write("f.png", "\x89PNG\r\n\x1A\n");
    age("f.png");
    age("whole.png");
    WatchedFolder folder(".", 3, {});
    Frame frame;
    ASSERT_TRUE(folder.next(frame));
    EXPECT_EQ(valueOf(frame), -1);
    EXPECT_NE(frame.problem, "");
    ASSERT_TRUE(folder.next(frame));
    const std::vector<std::uint8_t> whole = readFile("whole.png");
    directory.write("f.png", {whole.begin(), whole.end()});
    ASSERT_TRUE(folder.next(frame));
    EXPECT_EQ(frame.name, (fs::path(".") / "f.png").u8string());
    EXPECT_EQ(valueOf(frame), 77);
}

TEST(WatchedFolder, DoesNotTakeAFileAgainThatChangesAfterwards) {
    const ScratchDirectory directory;
    writeFrame("f.png", 1);
    age("f.png");
    WatchedFolder folder(".", 1.5, {});
    Frame frame;
    ASSERT_TRUE(folder.next(frame));
    writeFrame("f.png", 200);
    EXPECT_FALSE(folder.next(frame));
}

TEST(WatchedFolder, LeavesOutHiddenFilesAndWhatIsNoPicture) {
    const ScratchDirectory directory;
    writeFrame("f.png", 1);
    fs::copy_file("f.png", ".f.png");
    fs::copy_file("f.png", "f.png.part");
    for (const char* name : {"f.png", ".f.png", "f.png.part"}) age(name);
    WatchedFolder folder(".", 0.3, {});
    Frame frame;
    EXPECT_TRUE(folder.next(frame));
    EXPECT_FALSE(folder.next(frame));
}

TEST(WatchedFolder, MustBeAFolder) {
    const ScratchDirectory directory;
    directory.write("file.txt", "x");
    EXPECT_THROW(WatchedFolder("missing", 1, {}), InputError);
    EXPECT_THROW(WatchedFolder("file.txt", 1, {}), InputError);
}

}  // namespace
}  // namespace brantel::programs
