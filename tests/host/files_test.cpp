#include "files.h"

#include <gtest/gtest.h>

#include "support/scratch_directory.h"

namespace host {
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
}  // namespace host
