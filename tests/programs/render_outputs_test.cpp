// Where pictures go, what is never replaced, and what is told at the end.
#include <gtest/gtest.h>

#include "render/outputs.h"
#include "render/tables.h"
#include "stitch/positions.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

TEST(NumberedName, KeepsTheWholeEnding) {
    EXPECT_EQ(numberedName("a/scan.ome.tif", "-2"), "a/scan-2.ome.tif");
    EXPECT_EQ(numberedName("scan.OME.TIFF", "-2"), "scan-2.OME.TIFF");
    EXPECT_EQ(numberedName("a.b/scan.dzi", "-12"), "a.b/scan-12.dzi");
    EXPECT_EQ(numberedName("scan.v2.png", "-2_1"), "scan.v2-2_1.png");
}

class OutputFiles : public ::testing::Test {
  protected:
    OutputFiles() {
        directory_.write("scan.jsonl", "report");
        directory_.write("a.png", "frame");
        options_.report = "scan.jsonl";
        options_.output = "scan.ome.tif";
        frames_ = {{fs::absolute("a.png"), 1, ""}, {fs::path(), 1, "it is in no file"}};
    }

    std::string problem() {
        try {
            const Outputs outputs(options_, frames_);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "";
    }

    ScratchDirectory directory_;
    RenderOptions options_;
    std::vector<FrameFile> frames_;
};

TEST_F(OutputFiles, AreNoneOfTheInputs) {
    EXPECT_EQ(problem(), "");
    options_.output = "./a.png";
    EXPECT_NE(problem().find("./a.png is a frame to be rendered and the picture (-o) at once"),
              std::string::npos);
    fs::create_hard_link("scan.jsonl", "other.png");
    options_.output = "other.png";
    EXPECT_NE(problem().find("is the report and the picture (-o) at once"), std::string::npos);
    options_.output = "scan.png";
    options_.positionsOut = "scan.jsonl";
    EXPECT_NE(problem().find("is the report and the table of positions (--positions-out)"),
              std::string::npos);
    options_.positionsOut = "scan.png";
    EXPECT_NE(problem().find("is the picture (-o) and the table of positions"), std::string::npos);
    options_.positionsOut = "";
    options_.flatFieldFile = "even.png";
    options_.output = "even.png";
    EXPECT_NE(problem().find("is the picture of even light (--flat-field) and the picture"),
              std::string::npos);
    options_.output = "missing/scan.png";
    EXPECT_NE(problem().find("cannot write missing/scan.png"), std::string::npos) << problem();
}

TEST_F(OutputFiles, ReplaceNoFolderButTheirOwnTiles) {
    options_.output = "scan.dzi";
    EXPECT_EQ(problem(), "");
    fs::create_directory("scan_files");
    EXPECT_NE(problem().find("the folder scan_files would be replaced, and is none of scan.dzi"),
              std::string::npos);
    directory_.write("scan.dzi", "tiles");
    EXPECT_EQ(problem(), "");
    fs::rename("a.png", "scan_files/a.png");
    frames_[0].path = fs::absolute("scan_files/a.png");
    EXPECT_NE(problem().find("the folder scan_files would be replaced, and "), std::string::npos)
        << problem();
}

TEST_F(OutputFiles, OfFurtherPicturesReplaceNoInput) {
    directory_.write("scan-2.ome.tif", "frame");
    frames_.push_back({fs::absolute("scan-2.ome.tif"), 1, ""});
    Outputs outputs(options_, frames_);
    EXPECT_EQ(outputs.pictureName(1), "scan.ome.tif");
    EXPECT_EQ(outputs.pictureName(2), "scan-2_1.ome.tif");
    EXPECT_EQ(outputs.pictureName(3), "scan-3.ome.tif");
    directory_.write("scan.tif", "somebody's");
    EXPECT_EQ(outputs.tiffInsteadOf("scan.jpg"), "scan_1.tif");
    EXPECT_EQ(outputs.tiffInsteadOf("scan-2.dzi"), "scan-2.tif");
}

render::ScanSolution solved() {
    render::ScanSolution solution;
    solution.frames = {{1, {0, 0}, 2}, {1, {90.25, -3.5}, 2}, {0, {}, 0}, {2, {7, 7}, 0}};
    solution.gains = {1, 1.5F, 1, 0.75F};
    solution.agreement = {5, 4, 1, 1.234, 0.567, 0.12, 0.034};
    return solution;
}

std::vector<RenderedPicture> pictures() {
    RenderedPicture first;
    first.origin = {0, -4};
    first.file = "scan.ome.tif";
    first.layout.size = {130, 40};
    first.layout.frames.resize(2);
    RenderedPicture second;
    second.number = 2;
    second.origin = {7, 7};
    return {first, second};
}

TEST(PositionTable, IsReadByBrantelStitch) {
    const std::string table =
        positionTable({"a.png", "b,\"c\".png", "c.png", "d.tif#2"}, solved(), pictures());
    EXPECT_EQ(table,
              "file,x,y,frame,picture,evidence,gain\n"
              "a.png,0.000,4.000,1,1,2,1\n"
              "\"b,\"\"c\"\".png\",90.250,0.500,2,1,2,1.5\n"
              "d.tif#2,0.000,0.000,4,2,0,0.75\n");
    const Positions positions = Positions::parse(
        positionTable({"a.png", "b.png", "c.png", "d.tif#2"}, solved(), pictures()), "table", 0);
    Frame frame;
    frame.name = "scan/b.png";
    EXPECT_EQ(positions.of(frame), cv::Point2d(90.25, 0.5));
    frame.name = "c.png";
    EXPECT_FALSE(positions.of(frame));
}

TEST(ResultTable, TellsWhatCameOut) {
    ScanFrames scan;
    scan.nothingNew = 6;
    const std::string text = resultTable(scan, solved(), pictures(), 1);
    EXPECT_EQ(text,
              "frames      2 placed by their pictures, 1 kept where they were known to be, 6 left out that "
              "show nothing "
              "new, 1 left out that could not be used\n"
              "pairs       4 measured of 5 compared, 1 dropped that contradict the others\n"
              "positions   pairs agree to 0.57 px (root mean square), before to 1.23 px\n"
              "light       steps where frames overlap 3.40 % (median), before 12.00 %\n"
              "picture     scan.ome.tif  130 x 40 px, 2 frames\n");
}

}  // namespace
}  // namespace brantel::programs
