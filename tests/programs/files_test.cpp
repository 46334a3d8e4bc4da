#include "system/files.h"

#include <gtest/gtest.h>

#include "support/scratch_directory.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

std::string contents(const fs::path& path) {
    const std::vector<std::uint8_t> bytes = readFile(path);
    return {bytes.begin(), bytes.end()};
}

std::size_t filesIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(WriteFile, ReplacesTheOldContentsAndLeavesNothingBeside) {
    const ScratchDirectory directory;
    directory.write("result.txt", "a longer old text");
    writeFile("result.txt", "new");
    EXPECT_EQ(contents("result.txt"), "new");
    EXPECT_EQ(filesIn(directory.path()), 1U);
}

TEST(WriteFile, LeavesFilesAloneThatHaveTheTemporaryName) {
    const ScratchDirectory directory;
    directory.write("result.txt.part", "somebody else's");
    requireWritable("result.txt");
    writeFile("result.txt", "new");
    EXPECT_EQ(contents("result.txt"), "new");
    EXPECT_EQ(contents("result.txt.part"), "somebody else's");
    EXPECT_EQ(filesIn(directory.path()), 2U);
}

TEST(NewFile, IsNotThereBeforeItIsComplete) {
    const ScratchDirectory directory;
    {
        NewFile file("result.txt");
        file.write("half", 4);
        EXPECT_FALSE(fs::exists("result.txt"));
    }
    EXPECT_EQ(filesIn(directory.path()), 0U);
}

TEST(ReadFile, GivesAllBytesOrNone) {
    const ScratchDirectory directory;
    const std::string text(100000, 'x');
    directory.write("long.txt", text);
    directory.write("empty.txt", "");
    EXPECT_EQ(contents("long.txt"), text);
    EXPECT_EQ(contents("empty.txt"), "");
    EXPECT_EQ(contents("missing.txt"), "");
}

TEST(WriteFile, FailsWithTheNameOfTheFile) {
    const ScratchDirectory directory;
    try {
        writeFile("missing/result.txt", "text");
        FAIL();
    } catch (const OutputError& error) {
        EXPECT_NE(std::string(error.what()).find("result.txt"), std::string::npos);
    }
}

TEST(RequireWritable, LeavesAnExistingFileAsItIs) {
    const ScratchDirectory directory;
    directory.write("result.txt", "old");
    requireWritable("result.txt");
    requireWritable("new.txt");
    EXPECT_EQ(contents("result.txt"), "old");
    EXPECT_EQ(filesIn(directory.path()), 1U);
    EXPECT_THROW(requireWritable("missing/result.txt"), OutputError);
    EXPECT_THROW(requireWritable(directory.path()), OutputError);
}

#ifdef __linux__
TEST(WriteFile, FollowsLinks) {
    const ScratchDirectory directory;
    directory.write("real.txt", "old");
    fs::create_symlink("real.txt", "link.txt");
    writeFile("link.txt", "new");
    EXPECT_TRUE(fs::is_symlink("link.txt"));
    EXPECT_EQ(contents("real.txt"), "new");
}

TEST(WriteFile, NoticesAFullDeviceAndDoesNotReplaceIt) {
    if (!fs::is_character_file("/dev/full")) GTEST_SKIP() << "this machine has no /dev/full";
    const ScratchDirectory directory;
    fs::create_symlink("/dev/full", "full");
    EXPECT_THROW(writeFile("full", "text"), OutputError);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    EXPECT_EQ(filesIn(directory.path()), 1U);
}
#endif

}  // namespace
}  // namespace brantel::programs
