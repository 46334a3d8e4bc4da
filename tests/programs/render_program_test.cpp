// brantel-render after brantel-stitch, as a user runs them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>
#include <sstream>

#include "pictures/image_io.h"
#include "pictures/stored_file.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

constexpr const char* smallScan = "--generate 896x528 --frame 320x240 --step 192,144";
const cv::Size scanned(896, 528);

Outcome render(const std::string& arguments) {
    return shell("$RENDER " + arguments);
}

cv::Mat firstPage(const std::string& name) {
    return openStored(name)->read(0, Channels::asStored).samples;
}

/// The lines of a table without its header, as fields.
std::vector<std::vector<std::string>> tableIn(const std::string& name) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream file(name);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "file,x,y,frame,picture,evidence,gain");
    while (std::getline(file, line)) {
        rows.emplace_back();
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
    }
    return rows;
}

class Render : public ::testing::Test {
  protected:
    /// Stitches with a report, r.jsonl.
    static void stitchScan(const std::string& arguments) {
        const Outcome outcome = stitch(arguments + " -o live.tif --report r.jsonl");
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    }

    static void renderScan(const std::string& arguments) {
        const Outcome outcome = render("r.jsonl " + arguments);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        said_ = outcome.out + outcome.err;
    }

    ScratchDirectory directory_;
    static std::string said_;
};
std::string Render::said_;

void expectScanned(const cv::Mat& picture, const cv::Mat& scene) {
    ASSERT_FALSE(picture.empty());
    ASSERT_EQ(picture.type(), scene.type());
    ASSERT_EQ(picture.size(), scene.size());
    EXPECT_EQ(cv::norm(picture, scene, cv::NORM_INF), 0);
}

TEST_F(Render, AScanOfEvenLightComesBackPixelByPixel) {
    scan(std::string(smallScan) + " -o scan");
    stitchScan("scan");
    const cv::Mat scene = generatePicture(scanned, 1);
    for (const char* blend : {"feather", "none"})
        for (const char* file : {"m.png", "m.tif", "m.ome.tif"}) {
            renderScan(std::string("-o ") + file + " --flat-field none --gain none --blend " + blend);
            expectScanned(firstPage(file), scene);
            EXPECT_TRUE(contains(said_, std::string("picture     ") + file + "  ")) << said_;
        }
    EXPECT_TRUE(contains(said_, " placed by their pictures\n")) << said_;
    EXPECT_TRUE(contains(said_, "pairs agree to 0.0")) << said_;
    EXPECT_EQ(render("r.jsonl -o q.png -q").out, "");
    EXPECT_EQ(shell("ls -A | grep brantel").out, "") << "nothing temporary is left";
}

TEST_F(Render, ADeepZoomPictureHasItsTiles) {
    scan(std::string(smallScan) + " -o scan");
    stitchScan("scan");
    for (int round = 0; round < 2; ++round) {  // the second one replaces the first
        renderScan("-o m.dzi");
        EXPECT_TRUE(fs::exists("m.dzi"));
        EXPECT_TRUE(fs::is_directory("m_files"));
    }
}

TEST_F(Render, FramesOfSixteenBitsStayWhatTheyAre) {
    cv::Mat scene;
    cv::extractChannel(generatePicture({720, 240}, 1), scene, 1);
    scene.convertTo(scene, CV_16U, 14, 300);
    fs::create_directory("scan");
    for (std::int32_t k = 0; k < 5; ++k)
        cv::imwrite("scan/f" + std::to_string(k) + ".png", scene(cv::Rect(100 * k, 0, 320, 240)).clone());
    stitchScan("scan");
    renderScan("-o m.tif --flat-field none --gain none");
    expectScanned(firstPage("m.tif"), scene);
    const Outcome outcome = render("r.jsonl -o m.jpg");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "m.jpg cannot hold the picture: JPEG pictures have 8 bits"))
        << outcome.err;
}

TEST_F(Render, FloatingPointBecomesSixteenBits) {
    cv::Mat scene;
    cv::extractChannel(generatePicture({520, 240}, 1), scene, 1);
    scene.convertTo(scene, CV_32F, 1.0 / 255);
    fs::create_directory("scan");
    for (std::int32_t k = 0; k < 3; ++k)
        cv::imwrite("scan/f" + std::to_string(k) + ".tif", scene(cv::Rect(100 * k, 0, 320, 240)).clone());
    stitchScan("scan --range 0,1");
    renderScan("-o m.tif --flat-field none --gain none");
    EXPECT_TRUE(contains(said_, "are rendered in 16 bits: 0 to 1 become 1 to 65535")) << said_;
    const cv::Mat picture = firstPage("m.tif");
    ASSERT_EQ(picture.type(), CV_16UC1);
    EXPECT_NEAR(picture.at<std::uint16_t>(100, 300),
                1 + 65534 * static_cast<double>(scene.at<float>(100, 300)), 1);
}

TEST_F(Render, ItsPositionsServeBrantelStitch) {
    scan(std::string(smallScan) + " -o scan");
    stitchScan("scan");
    renderScan("-o m.png --positions-out p.csv");
    const auto rows = tableIn("p.csv");
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(rows.size(), report.frames.size());
    for (std::size_t k = 0; k < rows.size(); ++k) {
        ASSERT_EQ(rows[k].size(), 7U);
        EXPECT_EQ(rows[k][0], fs::path(std::string(report.frames[k]["file"])).filename());
        EXPECT_NEAR(std::stod(rows[k][1]), static_cast<double>(report.frames[k]["position"]["x"]), 0.25);
        EXPECT_NEAR(std::stod(rows[k][2]), static_cast<double>(report.frames[k]["position"]["y"]), 0.25);
        EXPECT_EQ(rows[k][4], "1");
        EXPECT_GE(std::stoi(rows[k][5]), 2) << "a serpentine has neighbours on two sides";
    }
    stitchScan("scan --positions p.csv");
    const nlohmann::json offsets = readReport("r.jsonl").summary["offsets"];
    EXPECT_GE(offsets["compared"], 8);
    EXPECT_EQ(offsets["exact"], offsets["compared"]);
}

TEST_F(Render, MapsThatNothingJoinsBecomeSeveralPictures) {
    scan(std::string(smallScan) + " -o scan");
    scan(std::string(smallScan) + " --seed 2 -o zother");
    stitchScan("scan zother");
    renderScan("-o m.ome.tif --flat-field none --gain none --positions-out p.csv");
    expectScanned(firstPage("m.ome.tif"), generatePicture(scanned, 1));
    expectScanned(firstPage("m-2.ome.tif"), generatePicture(scanned, 2));
    EXPECT_EQ(tableIn("p.csv").back()[4], "2");
}

TEST_F(Render, KeepsAFrameOfTheStageWhereItWas) {
    scan("--generate 620x240 --frame 320x240 --step 100,100 --path row -o scan");
    cv::imwrite("scan/frame_0004.png", cv::Mat(240, 320, CV_8UC3, cv::Scalar(90, 90, 90)));  // nothing to see
    directory_.write("stage.csv", "x,y\n5,0\n107,0\n203,0\n306,0\n");
    stitchScan("scan --positions stage.csv");
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.frames[3]["placed"], false) << report.frames[3];
    EXPECT_EQ(report.frames[3]["stage"], nlohmann::json({{"x", 306.0}, {"y", 0.0}}));
    renderScan("-o m.png --positions-out p.csv");
    const auto rows = tableIn("p.csv");
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[3][5], "0");
    EXPECT_NEAR(std::stod(rows[3][1]), 303, 0.25)
        << "the frame beside it lies 3 pixels from where the stage says";
    EXPECT_TRUE(contains(said_, "3 placed by their pictures, 1 kept where they were known to be")) << said_;
}

TEST_F(Render, FramesOfAStackAreItsPages) {
    std::vector<cv::Mat> pages;
    const cv::Mat scene = generatePicture({720, 240}, 1);
    for (std::int32_t k = 0; k < 5; ++k) pages.push_back(scene(cv::Rect(100 * k, 0, 320, 240)).clone());
    cv::imwritemulti("stack.tif", pages);
    stitchScan("stack.tif");
    renderScan("-o m.png --flat-field none --gain none --positions-out p.csv");
    expectScanned(firstPage("m.png"), scene);
    EXPECT_EQ(tableIn("p.csv")[2][0], "stack.tif#3");
}

TEST_F(Render, WhatWasStitchedInGreyIsRenderedInGrey) {
    scan(std::string(smallScan) + " -o scan");
    stitchScan("scan --grey");
    renderScan("-o m.png");
    EXPECT_EQ(firstPage("m.png").type(), CV_8UC1);
}

TEST_F(Render, TheSizeOfAPixelGoesIntoTheFile) {
    scan("--generate 520x240 --frame 320x240 --step 100,100 --path row -o scan");
    directory_.write("stage.csv", "x_um,y_um\n0,0\n65,0\n130,0\n");
    stitchScan("scan --positions stage.csv --pixel-size 0.65");
    renderScan("-o m.ome.tif");
    const std::string known = shell("grep -a -o 'PhysicalSizeX=\"[0-9.]*\"' m.ome.tif").out;
    EXPECT_EQ(known.substr(0, 19), "PhysicalSizeX=\"0.65") << known;
    renderScan("-o m.ome.tif --pixel-size 0.5");
    const std::string given = shell("grep -a -o 'PhysicalSizeX=\"[0-9.]*\"' m.ome.tif").out;
    EXPECT_EQ(given.substr(0, 18), "PhysicalSizeX=\"0.5") << given;
}

TEST_F(Render, UnevenLightIsMadeEven) {
    scan(std::string(smallScan) + " --vignetting 40 -o scan");
    stitchScan("scan");
    const cv::Mat even(240, 320, CV_8UC1, cv::Scalar(200));
    cv::imwrite("even.png", even);
    cv::imwrite("small.png", even(cv::Rect(0, 0, 100, 100)).clone());
    renderScan("-o m.png --flat-field even.png");
    const Outcome outcome = render("r.jsonl -o m.png --flat-field small.png");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "--flat-field: it has 100 x 100 pixels, the frames have 320 x 240"))
        << outcome.err;
    EXPECT_TRUE(contains(render("r.jsonl -o m.png --flat-field missing.png").err,
                         "cannot use missing.png as --flat-field"));
}

/// Frames one after the other without anything between them.
void writeRaw(const std::string& name, const cv::Mat& scene, std::int32_t frames) {
    std::ofstream file(name, std::ios::binary);
    for (std::int32_t k = 0; k < frames; ++k) {
        const cv::Mat frame = scene(cv::Rect(100 * k, 0, 320, 240)).clone();
        file.write(reinterpret_cast<const char*>(frame.data),
                   static_cast<std::streamsize>(frame.total() * frame.elemSize()));
    }
}

TEST_F(Render, RawInputIsRenderedFromTheFramesThatWereKept) {
    const cv::Mat scene = generatePicture({720, 240}, 1);
    writeRaw("frames.raw", scene, 5);
    ASSERT_EQ(shell("$STITCH --raw 320x240x3 -o live.tif --report r.jsonl <frames.raw").exitCode, 0);
    const Outcome refused = render("r.jsonl -o m.png");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(contains(refused.err, "keep them the next time by brantel-stitch --keep-frames FOLDER"))
        << refused.err;
    ASSERT_EQ(
        shell("$STITCH --raw 320x240x3 --keep-frames kept -o live.tif --report r.jsonl <frames.raw").exitCode,
        0);
    renderScan("-o m.png --flat-field none --gain none --positions-out p.csv");
    expectScanned(firstPage("m.png"), scene);
    EXPECT_EQ(tableIn("p.csv")[4][0], "frame_000005.png");
}

TEST_F(Render, AVideoIsRenderedFromTheFramesThatWereKept) {
    const cv::Mat scene = generatePicture({720, 240}, 1);
    cv::VideoWriter video("film.avi", cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10, {320, 240});
    ASSERT_TRUE(video.isOpened());
    for (std::int32_t k = 0; k < 5; ++k) video.write(scene(cv::Rect(100 * k, 0, 320, 240)).clone());
    video.release();
    stitchScan("film.avi");
    const Outcome refused = render("r.jsonl -o m.png --keep-going");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(
        contains(refused.err, "film.avi; keep them the next time by brantel-stitch --keep-frames FOLDER"))
        << refused.err;
    stitchScan("film.avi --keep-frames kept");
    fs::remove("film.avi");
    renderScan("-o m.png");
    EXPECT_EQ(firstPage("m.png").cols, 720);
}

TEST_F(Render, AScanIsFoundWhereItWasMovedTo) {
    fs::create_directory("here");
    scan("--generate 720x240 --frame 320x240 --step 100,100 --path row -o here/scan");
    ASSERT_EQ(shell("cd here && $STITCH scan -o live.tif --report r.jsonl").exitCode, 0);
    fs::rename("here", "there");
    const Outcome outcome = render("there/r.jsonl -o m.png");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(firstPage("m.png").cols, 720);
}

}  // namespace
}  // namespace brantel::programs::test
