#include "system/file_identity.h"

#include <gtest/gtest.h>

#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

TEST(Identity, IsTheSameForAllNamesOfAFile) {
    const ScratchDirectory directory;
    directory.write("a.txt", "a");
    directory.write("b.txt", "a");
    fs::create_directory("sub");
    fs::create_hard_link("a.txt", "hard.txt");
    EXPECT_EQ(identityOf("a.txt"), identityOf("sub/../a.txt"));
    EXPECT_EQ(identityOf("a.txt"), identityOf(directory.path() / "a.txt"));
    EXPECT_EQ(identityOf("a.txt"), identityOf("hard.txt"));
    EXPECT_NE(identityOf("a.txt"), identityOf("b.txt"));
}

TEST(Identity, OfAFileThatIsNotThereYetIsItsPlace) {
    const ScratchDirectory directory;
    fs::create_directory("sub");
    EXPECT_EQ(identityOf("new.txt"), identityOf("sub/../new.txt"));
    EXPECT_NE(identityOf("new.txt"), identityOf("sub/new.txt"));
    EXPECT_EQ(identityOf("none/new.txt"), identityOf("./none/new.txt"));
}

TEST(Identity, FoldersHaveNone) {
    const ScratchDirectory directory;
    EXPECT_FALSE(identityOf(".").has_value());
}

TEST(RequireDistinct, NamesBothPurposes) {
    const ScratchDirectory directory;
    directory.write("a.txt", "a");
    EXPECT_NO_THROW(requireDistinct({{"an input", "a.txt"}}, {{"a result", "b.txt"}, {"another", "c.txt"}}));
    EXPECT_NO_THROW(requireDistinct({{"an input", "a.txt"}, {"an input", "a.txt"}}, {{"a result", "b.txt"}}));
    EXPECT_THROW(requireDistinct({}, {{"a result", "b.txt"}, {"another", "./b.txt"}}), InputError);
    try {
        requireDistinct({{"an input", "a.txt"}}, {{"a result", "./a.txt"}});
        FAIL();
    } catch (const InputError& error) {
        EXPECT_STREQ(error.what(),
                     "./a.txt is an input and a result at once; choose another name for a result");
    }
}

#ifdef __linux__
TEST(Identity, FollowsSymbolicLinksAndLeavesOutDevices) {
    const ScratchDirectory directory;
    directory.write("a.txt", "a");
    fs::create_symlink("a.txt", "link.txt");
    EXPECT_EQ(identityOf("a.txt"), identityOf("link.txt"));
    EXPECT_FALSE(identityOf("/dev/null").has_value());
}
#endif

}  // namespace
}  // namespace brantel::programs
