// That brantel-stitch overwrites nothing and loses nothing.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

class Safety : public ::testing::Test {
  protected:
    Safety() { scan("--generate 740x240 --frame 320x240 --step 100,100 --path row -o scan"); }

    /// The run is refused with a sentence before anything is written.
    void expectRefusal(const std::string& arguments, const std::string& sentence) {
        const std::string before = shell("find . -type f -exec md5sum {} + | sort").out;
        const Outcome outcome = stitch(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments;
        EXPECT_TRUE(contains(outcome.err, sentence)) << outcome.err;
        fs::remove("out.txt");
        fs::remove("err.txt");
        const std::string after = shell("find . -type f -exec md5sum {} + | sort").out;
        EXPECT_EQ(withoutOutput(before), withoutOutput(after)) << arguments;
    }

    ScratchDirectory directory_;

  private:
    /// The listing without the files that the shell's own output goes to.
    static std::string withoutOutput(const std::string& listing) {
        std::istringstream lines(listing);
        std::string kept;
        for (std::string line; std::getline(lines, line);)
            if (!contains(line, "./out.txt") && !contains(line, "./err.txt")) kept += line + "\n";
        return kept;
    }
};

TEST_F(Safety, NoResultReplacesAFrame) {
    expectRefusal("scan -o scan/frame_0001.png",
                  "scan/frame_0001.png is a frame to be stitched and the mosaic (-o) at once");
    expectRefusal("scan --overview scan/../scan/frame_0003.png",
                  "is a frame to be stitched and the overview");
    fs::create_hard_link("scan/frame_0002.png", "hard.png");
    expectRefusal("scan -o hard.png", "hard.png is a frame to be stitched and the mosaic");
    fs::create_symlink("scan/frame_0002.png", "soft.png");
    expectRefusal("scan -o soft.png", "soft.png is a frame to be stitched and the mosaic");
}

TEST_F(Safety, NoTwoResultsShareAFile) {
    expectRefusal("scan -o m.png --overview m.png",
                  "m.png is the mosaic (-o) and the overview (--overview) at once");
    expectRefusal("scan -o m.png --report ./m.png", "the report (--report) at once");
    expectRefusal("scan --report r.txt --library-log r.txt", "the library's log (--library-log) at once");
    expectRefusal("scan --positions scan/truth.csv --report scan/truth.csv",
                  "the table of positions (--positions)");
}

TEST_F(Safety, AFurtherMosaicDoesNotReplaceAFrameOfItsName) {
    scan("--generate 520x240 --frame 320x240 --step 100,100 --path row -o other --seed 2");
    fs::copy_file("other/frame_0001.png", "m-2.png");
    const std::vector<std::uint8_t> before = readFile("m-2.png");
    ASSERT_EQ(stitch("scan m-2.png other/frame_0002.png other/frame_0003.png -o m.png --on-lost restart "
                     "--report r.jsonl")
                  .exitCode,
              0);
    EXPECT_EQ(readFile("m-2.png"), before);
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.summary["mosaics"].size(), 2U);
    EXPECT_EQ(report.summary["mosaics"][1]["file"], "m-2_1.png");
    EXPECT_FALSE(readPicture("m-2_1.png", Channels::colour).empty());
}

TEST_F(Safety, ResultsStayOutOfAWatchedFolder) {
    expectRefusal("--watch scan --until-idle 1 -o scan/m.png",
                  "scan/m.png, the mosaic (-o), would lie in the folder that is watched for frames");
}

TEST_F(Safety, AReportIsReplacedOnlyWhenThereIsSomethingToReport) {
    directory_.write("r.jsonl", "old");
    expectRefusal("scan --limit 100,100 --report r.jsonl", "--limit 100,100");
    EXPECT_EQ(readFile("r.jsonl").size(), 3U);
}

TEST_F(Safety, AKilledRunLeavesAReadableReport) {
    const Outcome outcome = shell(
        "$STITCH $(yes scan | head -n 2000) -o m.png --report r.jsonl & pid=$!\n"
        "for i in $(seq 1000); do [ \"$(wc -l 2>/dev/null <r.jsonl)\" -gt 20 ] && break; sleep 0.05; done\n"
        "kill -KILL $pid; wait $pid");
    EXPECT_EQ(outcome.exitCode, 128 + 9);
    const Report report = readReport("r.jsonl");  // parses every line
    EXPECT_GE(report.frames.size(), 10U);
    EXPECT_EQ(report.frames[0]["placed"], true) << "the latest line of a frame holds";
    EXPECT_EQ(report.frames[1]["position"]["x"], 100);
    EXPECT_TRUE(report.summary.is_null());
}

class Signals : public Safety, public ::testing::WithParamInterface<const char*> {};

TEST_P(Signals, SaveWhatThereIs) {
    const Outcome outcome = shell(
        "$STITCH $(yes scan | head -n 2000) -o m.png --report r.jsonl & pid=$!\n"
        "for i in $(seq 1000); do [ \"$(wc -l 2>/dev/null <r.jsonl)\" -gt 20 ] && break; sleep 0.05; done\n"
        "kill -" +
        std::string(GetParam()) + " $pid; kill -" + GetParam() + " $pid; wait $pid");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, "interrupted after")) << outcome.err;
    EXPECT_EQ(readReport("r.jsonl").summary["interrupted"], true);
    EXPECT_FALSE(readPicture("m.png", Channels::colour).empty());
}

// Twice at once is how some programs pass a signal on: to the process and to its group.
INSTANTIATE_TEST_SUITE_P(AllOfThem, Signals, ::testing::Values("INT", "TERM", "HUP"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(Safety, NohupKeepsARunGoingWithoutItsTerminal) {
    const Outcome outcome = shell(
        "trap '' HUP\n$STITCH $(yes scan | head -n 20) -o m.png --report r.jsonl & pid=$!\n"
        "for i in $(seq 1000); do [ -s r.jsonl ] && break; sleep 0.02; done\n"
        "kill -HUP $pid; wait $pid");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(readReport("r.jsonl").frames.size(), 100U);
}

TEST_F(Safety, AReaderThatGoesAwayDoesNotTakeTheMosaicWithIt) {
    const Outcome outcome =
        shell("{ $STITCH $(yes scan | head -n 20) -o m.png --report - ; echo $? >rc; } | head -n 1");
    EXPECT_TRUE(contains(outcome.err, "cannot write standard output")) << outcome.err;
    EXPECT_EQ(shell("cat rc").out, "1\n");
    EXPECT_TRUE(fs::exists("m.png"));
}

/// Frames that make a mosaic longer than JPEG can hold.
void makeLongScan(const std::string& folder, std::int32_t frames) {
    constexpr std::int32_t step = 300;
    fs::create_directory(folder);
    cv::Mat picture;
    cv::extractChannel(generatePicture({step * frames + 340, 240}, 1), picture, 1);
    for (std::int32_t k = 0; k < frames; ++k) {
        char name[32];
        std::snprintf(name, sizeof name, "/f%05d.png", k);
        writeQuickly(folder + name, picture(cv::Rect(step * k, 0, 640, 240)).clone());
    }
}

TEST_F(Safety, AMosaicThatIsTooLongForJpegIsSavedAsTiff) {
    makeLongScan("long", 220);
    directory_.write("m.tif", "somebody else's");
    const Outcome outcome = stitch("long -o m.jpg --report r.jsonl --expected 300,0 --limit 30000,71582");
    EXPECT_EQ(outcome.exitCode, 1) << "it is not where it was asked for";
    EXPECT_TRUE(
        contains(outcome.err, "is saved as m_1.tif instead of m.jpg: JPEG holds at most 65500 pixels"))
        << outcome.err;
    EXPECT_EQ(readFile("m.tif").size(), 15U);
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.summary["mosaics"].size(), 1U);
    EXPECT_EQ(report.summary["mosaics"][0]["file"], "m_1.tif");
    const cv::Mat mosaic = readPicture("m_1.tif", Channels::asStored);
    EXPECT_GT(mosaic.cols, 65500);
    EXPECT_EQ(mosaic.cols, report.summary["mosaics"][0]["width"]);
}

TEST_F(Safety, WithPositionsItIsKnownBeforeTheFirstFrame) {
    const Outcome outcome = [&] {
        std::string table = "x,y\n";
        for (int k = 0; k < 5; ++k) table += std::to_string(20000 * k) + ",0\n";
        directory_.write("far.csv", table);
        return stitch("scan -o m.jpg --report r.jsonl --positions far.csv");
    }();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(
        contains(outcome.err, "by the positions the mosaic will have 80320 x 240 pixels, but JPEG holds"))
        << outcome.err;
    EXPECT_FALSE(fs::exists("r.jsonl"));
}

TEST_F(Safety, ClosedStandardStreamsDoNotMixWithFiles) {
    EXPECT_EQ(shell("$STITCH scan -o m.png --report r.jsonl <&- >&- 2>&-").exitCode, 0);
    EXPECT_EQ(readReport("r.jsonl").summary["placed"], 5);
    EXPECT_FALSE(readPicture("m.png", Channels::colour).empty());
    EXPECT_EQ(shell("$STITCH scan -o m.png >&-").err, "");
    const Outcome outcome = shell("$STITCH scan -o m.png --report - >&-");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "standard output, which is closed")) << outcome.err;
    EXPECT_EQ(shell("$SCAN --generate 100x100 --frame 60x60 -o a <&- >&- 2>&-").exitCode, 0);
    EXPECT_FALSE(readPicture("a/frame_0001.png", Channels::colour).empty());
}

TEST_F(Safety, NoFolderForTemporaryFilesIsNeeded) {
    // Whoever may not make a file there, and a folder that is not there.
    EXPECT_EQ(shell("TMPDIR=/missing $STITCH scan -o m.png").exitCode, 0);
    const Outcome outcome = shell(
        "unshare -rm sh -c '\n"
        "mount -t tmpfs none /mnt && cp -r scan /mnt && mount --bind /tmp /tmp && mount -o remount,ro,bind "
        "/tmp ||\n"
        "  exit 77\n"
        "cd /mnt && ! touch /tmp/any 2>/dev/null && $STITCH scan -o m.png && [ -s m.png ]' || exit $?");
    if (outcome.exitCode == 77) GTEST_SKIP() << "this machine gives no mount namespaces";
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
}

TEST_F(Safety, OutOfMemoryIsNamedAsSuch) {
    // Enough for the program and the frames, not for a canvas of 6000 x 6000 in colour.
    const Outcome outcome = shell(
        "for limit in 300000 350000 400000 450000 500000 600000; do\n"
        "  (ulimit -v $limit; exec $STITCH scan -o m.png --report r.jsonl) 2>memory.txt >/dev/null\n"
        "  grep -q 'out of memory' memory.txt && break\n"
        "done; cat memory.txt >&2");
    if (!contains(outcome.err, "out of memory")) GTEST_SKIP() << "no limit of this machine hits the canvas";
    EXPECT_FALSE(contains(outcome.err, "too few matches")) << outcome.err;
}

TEST_F(Safety, ATruthTableIsNotOverwritten) {
    fs::create_directory("mine");
    directory_.write("mine/truth.csv", "old");
    const Outcome outcome = shell("$SCAN --generate 100x100 --frame 60x60 -o mine");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "truth.csv")) << outcome.err;
    EXPECT_EQ(readFile("mine/truth.csv").size(), 3U);
}

}  // namespace
}  // namespace brantel::programs::test
