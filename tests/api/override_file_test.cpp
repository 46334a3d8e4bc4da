// "stitch.txt": one decimal integer, nonzero forces the CPU.
#include <gtest/gtest.h>

#include <cstdio>

#include "api/override_file.h"
#include "support/scratch_directory.h"

#if defined(__linux__)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace brantel {
namespace {

class OverrideFile : public testing::Test {
  protected:
    test::ScratchDirectory directory;

    bool forcedBy(const std::string& contents) {
        directory.write("stitch.txt", contents);
        return overrideFileForcesCpu();
    }
};

TEST_F(OverrideFile, AnyNonzeroIntegerForcesTheCpu) {
    for (const char* text :
         {"1", "-1", "2\n", "+7", "  \n\t 5", "12abc", "3 0", "1\r\n", "007", "4294967296", "-4294967296",
          "18446744073709551616", "100000000000000000000000000000000", "0000000000000000000000001"})
        EXPECT_TRUE(forcedBy(text)) << text;
}

TEST_F(OverrideFile, ZeroOrNoNumberDoesNot) {
    for (const char* text : {"0", "", "\n", "-0", "000", "0 1", "0x10", "x1", "cpu", ".5", "- 1", "+-1",
                             "00000000000000000000000000000000"})
        EXPECT_FALSE(forcedBy(text)) << text;
}

TEST_F(OverrideFile, AMissingFileDoesNot) {
    EXPECT_FALSE(overrideFileForcesCpu());
}

TEST_F(OverrideFile, AFolderOfThatNameDoesNot) {
    std::filesystem::create_directory("stitch.txt");
    EXPECT_FALSE(overrideFileForcesCpu());
}

TEST_F(OverrideFile, IsReadAgainAtEveryCall) {
    EXPECT_TRUE(forcedBy("1"));
    EXPECT_FALSE(forcedBy("0"));
    EXPECT_TRUE(forcedBy("1"));
}

#if defined(__linux__)
TEST_F(OverrideFile, StandardInputIsClosedWhetherOrNotThereIsAFile) {
    if (fcntl(STDIN_FILENO, F_GETFD) == -1) GTEST_SKIP() << "closed by an earlier test of this process";
    overrideFileForcesCpu();
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
}

TEST_F(OverrideFile, ItIsClosedOnceSoThatWhatTookItsPlaceStaysOpen) {
    if (fcntl(STDIN_FILENO, F_GETFD) == -1) GTEST_SKIP() << "closed by an earlier test of this process";
    forcedBy("1");
    std::FILE* other = std::fopen("stitch.txt", "r");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(fileno(other), STDIN_FILENO) << "the lowest free number is the one just closed";
    EXPECT_TRUE(overrideFileForcesCpu());
    EXPECT_EQ(std::fgetc(other), '1');
    std::fclose(other);
}
#endif

}  // namespace
}  // namespace brantel
