#include "stitch/report_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

using brantel::test::ScratchDirectory;

std::string contents(const std::string& name) {
    const std::vector<std::uint8_t> bytes = readFile(name);
    return {bytes.begin(), bytes.end()};
}

TEST(ReportFile, HoldsEveryLineAtOnce) {
    const ScratchDirectory directory;
    directory.write("r.jsonl", "of an earlier run");
    ReportFile file("r.jsonl", nullptr);
    EXPECT_EQ(contents("r.jsonl"), "of an earlier run") << "before there is anything to report";
    file.write("one\n");
    EXPECT_EQ(contents("r.jsonl"), "one\n");
    file.write("two\n");
    EXPECT_EQ(contents("r.jsonl"), "one\ntwo\n");
}

TEST(ReportFile, IsNotNeeded) {
    ReportFile file("", nullptr);
    EXPECT_NO_THROW(file.write("one\n"));
}

TEST(ReportFile, TellsOnceThatItCannotBeWritten) {
    const ScratchDirectory directory;
    ReportFile file("missing/r.jsonl", nullptr);
    EXPECT_THROW(file.write("one\n"), OutputError);
    EXPECT_NO_THROW(file.write("two\n"));
}

}  // namespace
}  // namespace brantel::programs
