// What brantel-render refuses, and that nothing is lost or left behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

std::string listing() {
    return shell(
               "find . -mindepth 1 ! -name out.txt ! -name err.txt | sort; find . -type f ! -name out.txt ! "
               "-name err.txt "
               "-exec md5sum {} + | sort")
        .out;
}

class RenderSafety : public ::testing::Test {
  protected:
    RenderSafety() { stitchScan("--generate 820x240 --frame 320x240 --step 100,100 --path row -o scan"); }

    static void stitchScan(const std::string& arguments) {
        scan(arguments);
        ASSERT_EQ(stitch("scan -o live.tif --report r.jsonl").exitCode, 0);
    }

    /// The run is refused with a sentence, and nothing is written.
    static void expectRefusal(const std::string& arguments, const std::string& sentence) {
        const std::string before = listing();
        const Outcome outcome = shell("$RENDER " + arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments << outcome.out << outcome.err;
        EXPECT_TRUE(contains(outcome.err, sentence)) << outcome.err;
        EXPECT_EQ(listing(), before) << arguments;
    }

    ScratchDirectory directory_;
};

TEST_F(RenderSafety, WrongUsageIsRefused) {
    expectRefusal("", "report is required");
    expectRefusal("r.jsonl", "--output is required");
    expectRefusal("r.jsonl -o m.gif", "m.gif: the name must end in .tif, .ome.tif, .dzi, .png, .jpg");
    expectRefusal("r.jsonl -o .png", "the name must end in");
    expectRefusal("r.jsonl -o m.png --blend max", "--blend");
    expectRefusal("r.jsonl -o m.png --gain some", "--gain");
    expectRefusal("r.jsonl -o m.png --quality 0", "--quality");
    expectRefusal("r.jsonl -o m.png --pixel-size 0", "--pixel-size");
    expectRefusal("r.jsonl -o m.png --unknown", "--unknown");
    expectRefusal("r.jsonl other.jsonl -o m.png", "other.jsonl");
    EXPECT_EQ(shell("$RENDER --version").out, "brantel-render " BRANTEL_VERSION "\n");
    EXPECT_EQ(shell("$RENDER --help").exitCode, 0);
}

TEST_F(RenderSafety, WhatIsNoReportIsRefused) {
    expectRefusal("missing.jsonl -o m.png",
                  "cannot open the report missing.jsonl: No such file or directory");
    expectRefusal("scan -o m.png", "scan is a folder; name the report");
    expectRefusal("scan/truth.csv -o m.png", "scan/truth.csv is no report of brantel-stitch");
    expectRefusal("scan/frame_0001.png -o m.png", "is no report of brantel-stitch");
    shell("sed '3s/placed/lost/' r.jsonl >wrong.jsonl");
    expectRefusal("wrong.jsonl -o m.png --keep-going",
                  "wrong.jsonl, line 3: state must be placed, skipped, waiting or");
}

TEST_F(RenderSafety, AReportThatIsCutOffIsRenderedOnRequest) {
    shell("head -n 4 r.jsonl >cut.jsonl; sed -n 5p r.jsonl | head -c 100 >>cut.jsonl");
    expectRefusal("cut.jsonl -o m.png",
                  "cut.jsonl has no summary: the run of brantel-stitch still goes on or was cut off");
    const Outcome outcome = shell("$RENDER cut.jsonl -o m.png --keep-going");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, "cut.jsonl is cut off after ")) << outcome.err;
    EXPECT_GT(readPicture("m.png", Channels::colour).cols, 320);
}

TEST_F(RenderSafety, FramesThatAreMissingOrChangedAreNamed) {
    fs::remove("scan/frame_0002.png");
    directory_.write("scan/frame_0003.png", "somebody else's");
    fs::last_write_time("scan/frame_0005.png",
                        fs::last_write_time("scan/frame_0005.png") + std::chrono::seconds(9));
    expectRefusal("r.jsonl -o m.png",
                  "3 frames cannot be used:\n  frame 2 (scan/frame_0002.png): the file is missing\n"
                  "  frame 3 (scan/frame_0003.png): the file has changed since: it has 15 bytes");
    expectRefusal("r.jsonl -o m.png",
                  "frame 5 (scan/frame_0005.png): the file has changed since: its time is ");
    expectRefusal("r.jsonl -o m.png", "--keep-going renders the others");
    const Outcome outcome = shell("$RENDER r.jsonl -o m.png --keep-going --positions-out p.csv");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, "3 frames cannot be used:\n  frame 2 (scan/frame_0002.png)"))
        << outcome.err;
    EXPECT_TRUE(contains(outcome.out, "3 left out that could not be used")) << outcome.out;
    EXPECT_EQ(shell("tail -n +2 p.csv | cut -d, -f4 | tr '\\n' ' '").out, "1 4 6 ");
    EXPECT_EQ(readPicture("m.png", Channels::colour).cols, 820);
}

TEST_F(RenderSafety, OfManyMissingFramesTheFirstAreNamed) {
    fs::remove_all("scan");
    expectRefusal("r.jsonl -o m.png",
                  "frame 5 (scan/frame_0005.png): the file is missing\n  and 1 more\n--keep-going");
    expectRefusal("r.jsonl -o m.png --keep-going", "there is nothing to render");
}

TEST_F(RenderSafety, AFrameThatIsDamagedIsNamed) {
    // The same size and time, but no picture any more.
    shell(
        "f=scan/frame_0004.png; touch -r $f then; size=$(stat -c %s $f); truncate -s 1000 $f; truncate -s "
        "$size $f; "
        "touch -r then $f; rm then");
    expectRefusal("r.jsonl -o m.png",
                  "1 frame cannot be read:\n  frame 4 (scan/frame_0004.png): it is a PNG picture that");
    const Outcome outcome = shell("$RENDER r.jsonl -o m.png --keep-going");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(readPicture("m.png", Channels::colour).cols, 820);
}

TEST_F(RenderSafety, NothingThatIsReadIsReplaced) {
    expectRefusal("r.jsonl -o scan/frame_0002.png", "is a frame to be rendered and the picture (-o) at once");
    fs::create_symlink("scan/frame_0002.png", "soft.png");
    expectRefusal("r.jsonl -o soft.png", "is a frame to be rendered and the picture (-o) at once");
    fs::copy_file("r.jsonl", "report.png");
    expectRefusal("report.png -o report.png", "is the report and the picture (-o) at once");
    expectRefusal("r.jsonl -o m.png --positions-out r.jsonl", "is the report and the table of positions");
    const Outcome outcome = shell("$RENDER r.jsonl -o missing/m.png");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(contains(outcome.err, "cannot write missing/m.png")) << outcome.err;
    fs::create_directory("m_files");
    expectRefusal("r.jsonl -o m.dzi", "the folder m_files would be replaced, and is none of m.dzi");
}

TEST_F(RenderSafety, PositionsWithoutEndAreRefused) {
    std::ifstream file("r.jsonl");
    std::ofstream far("far.jsonl");
    for (std::string line; std::getline(file, line);) {
        nlohmann::json entry = nlohmann::json::parse(line);
        if (entry.contains("frame") && entry["frame"] == 6) entry["position"]["x"] = 1 << 30;
        far << entry << "\n";
    }
    far.close();
    expectRefusal("far.jsonl -o m.tif", "m.tif cannot hold the picture: ");
}

/// Nine frames; each side of the middle one shows what lies farther out than its neighbours there say.
void writeContradiction() {
    constexpr std::int32_t off = 20;
    const cv::Mat scene = generatePicture({784, 608}, 1);
    for (std::int32_t k = 0; k < 9; ++k) {
        const cv::Point at(40 + 192 * (k % 3), 40 + 144 * (k / 3));
        cv::Mat frame = scene(cv::Rect(at, cv::Size(320, 240))).clone();
        const auto show = [&](const cv::Rect& part, cv::Point by) {
            scene(part + at + by).copyTo(frame(part));
        };
        if (k == 4) {
            show({0, 0, 160, 240}, {-off, 0});
            show({160, 0, 160, 240}, {off, 0});
            show({60, 0, 200, 90}, {0, -off});
            show({60, 150, 200, 90}, {0, off});
        }
        cv::imwrite("scan/f" + std::to_string(k + 1) + ".png", frame);
    }
}

TEST_F(RenderSafety, AFrameThatLiesElsewhereIsNamed) {
    fs::remove_all("scan");
    fs::create_directory("scan");
    writeContradiction();
    ASSERT_EQ(stitch("scan -o live.tif --report r.jsonl").exitCode, 0);
    expectRefusal(
        "r.jsonl -o m.png",
        "1 frame lies elsewhere by the pictures than by the report:\n  frame 5 (scan/f5.png)\n--keep-going");
    const Outcome outcome = shell("$RENDER r.jsonl -o m.png --keep-going --positions-out p.csv");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, "frame 5 (scan/f5.png)\nthey stay where the report says"))
        << outcome.err;
    EXPECT_TRUE(contains(outcome.out, "8 placed by their pictures, 1 kept where they were known to be"))
        << outcome.out;
    EXPECT_EQ(shell("sed -n 6p p.csv | cut -d, -f6").out, "0\n");
}

TEST_F(RenderSafety, AFullDiskLeavesNothing) {
    const std::string before = listing();
    for (const std::string name : {"m.png", "m.jpg", "m.tif", "m.ome.tif"}) {
        const Outcome outcome = shell("(ulimit -f 100; exec $RENDER r.jsonl -o " + name + ")");
        EXPECT_EQ(outcome.exitCode, 1) << name << outcome.out;
        EXPECT_TRUE(contains(outcome.err, name)) << outcome.err;
        EXPECT_EQ(listing(), before) << name;
    }
    const Outcome table = shell("ln -s /dev/full p.csv; $RENDER r.jsonl -o m.png --positions-out p.csv");
    EXPECT_EQ(table.exitCode, 1);
    EXPECT_TRUE(contains(table.err, "cannot write p.csv: No space left on device")) << table.err;
    EXPECT_TRUE(fs::exists("m.png")) << "the picture stays";
    EXPECT_EQ(shell("$RENDER r.jsonl -o m.png >/dev/full").exitCode, 1);
}

TEST_F(RenderSafety, ClosedStandardStreamsDoNotMixWithFiles) {
    EXPECT_EQ(shell("$RENDER r.jsonl -o m.png <&- >&- 2>&-").exitCode, 0);
    EXPECT_EQ(readPicture("m.png", Channels::colour).cols, 820);
}

/// A scan that takes a while.
class Interrupted : public RenderSafety, public ::testing::WithParamInterface<const char*> {
  protected:
    Interrupted() {
        fs::remove_all("scan");
        stitchScan("--generate 1800x1400 --frame 320x240 --overlap 35 -o scan");
    }

    /// Sends the signal as soon as the shell's condition holds.
    static Outcome interruptWhen(const std::string& condition) {
        return shell(
            "$RENDER r.jsonl -o m.tif & pid=$!\n"
            // Before that it is the shell, which ignores Ctrl-C.
            "until grep -q brantel-render /proc/$pid/comm; do sleep 0.01; done\n"
            // The last hexadecimal place of the mask is that of the signal 2, Ctrl-C.
            "until grep -q 'SigCgt:.*[2367abef]$' /proc/$pid/status; do sleep 0.01; done\n"
            "until " +
            condition +
            "; do sleep 0.01; done\n"
            "kill -" +
            GetParam() + " $pid; wait $pid");
    }
};

TEST_P(Interrupted, LeavesNothingWhileItMeasures) {
    const std::string before = listing();
    const Outcome outcome = interruptWhen("true");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.out;
    EXPECT_TRUE(contains(outcome.err, "brantel-render: interrupted by ")) << outcome.err;
    EXPECT_EQ(listing(), before);
}

TEST_P(Interrupted, LeavesNothingWhileItWrites) {
    const std::string before = listing();
    const Outcome outcome = interruptWhen("ls -d .brantel-* 2>/dev/null || ! kill -0 $pid");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.out;
    EXPECT_TRUE(contains(outcome.err, "brantel-render: interrupted by ")) << outcome.err;
    EXPECT_EQ(listing(), before);
}

INSTANTIATE_TEST_SUITE_P(BySignals, Interrupted, ::testing::Values("INT", "TERM"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(RenderSafety, OutOfMemoryIsNamedAsSuch) {
    fs::remove_all("scan");
    stitchScan("--generate 5000x2000 --frame 3000x2000 --step 1000,1000 --path row -o scan");
    const std::string before = listing();
    bool named = false;
    for (std::int32_t limit = 350000; limit < 900000; limit += 75000) {
        const Outcome outcome =
            shell("ulimit -v " + std::to_string(limit) + "; exec $RENDER r.jsonl -o m.png");
        if (outcome.exitCode == 0) break;
        if (contains(outcome.err, "Sanitizer")) GTEST_SKIP() << "the sanitizer needs the address space";
        if (outcome.exitCode == 127) continue;  // not enough for the program itself
        EXPECT_EQ(outcome.exitCode, 1) << limit << ": " << outcome.err;
        EXPECT_EQ(listing(), before) << limit;
        named |= contains(outcome.err, "out of memory");
    }
    EXPECT_TRUE(named);
}

}  // namespace
}  // namespace brantel::programs::test
