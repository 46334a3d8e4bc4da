// Pictures of more than 8 bits, floating point and stacks.
#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "pictures/image_io.h"
#include "programs.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"
#include "tiff_files.h"

namespace brantel::programs::test {
namespace {

using brantel::test::ScratchDirectory;

constexpr std::int32_t step = 100;
constexpr std::int32_t frameCount = 5;

/// What a microscope's 12-bit camera sees, in 16-bit samples: 300 to about 3900.
cv::Mat deepPicture() {
    cv::Mat grey;
    cv::extractChannel(generatePicture({320 + step * (frameCount - 1), 240}, 1), grey, 1);
    cv::Mat deep;
    grey.convertTo(deep, CV_16U, 14, 300);
    return deep;
}

cv::Mat frameOf(const cv::Mat& picture, std::int32_t k) {
    return picture(cv::Rect(step * k, 0, 320, 240)).clone();
}

/// The value below which such a part of all frames' samples lies.
double percentile(double part) {
    std::vector<std::uint16_t> samples;
    for (std::int32_t k = 0; k < frameCount; ++k) {
        const cv::Mat frame = frameOf(deepPicture(), k);
        samples.insert(samples.end(), frame.begin<std::uint16_t>(), frame.end<std::uint16_t>());
    }
    std::sort(samples.begin(), samples.end());
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
}

/// Stitches and compares where only the first frame lies with what the range makes of it.
void expectMosaic(const std::string& arguments, double low, double high) {
    const Outcome outcome = stitch(arguments + " -o m.png --report r.jsonl");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const Report report = readReport("r.jsonl");
    ASSERT_EQ(report.summary["placed"], frameCount) << outcome.err;
    constexpr double tolerance = 5;  // the mean of two neighbours, or one of them
    EXPECT_NEAR(report.summary["range"][0], low, tolerance);
    EXPECT_NEAR(report.summary["range"][1], high, tolerance);
    for (const nlohmann::json& frame : report.frames)
        EXPECT_EQ(frame["range"], report.summary["range"]) << "kept for the whole run";
    const double from = report.summary["range"][0];
    const double factor = 254 / (static_cast<double>(report.summary["range"][1]) - from);
    cv::Mat expected = cv::max(frameOf(deepPicture(), 0).colRange(0, step - 10), from);
    expected.convertTo(expected, CV_8U, factor, 1 - from * factor);
    const nlohmann::json& origin = report.summary["mosaics"][0]["origin"];
    const cv::Mat mosaic = readPicture("m.png", Channels::asStored);
    ASSERT_EQ(mosaic.type(), CV_8UC1);
    const cv::Point at(-static_cast<int>(origin["x"]), -static_cast<int>(origin["y"]));
    EXPECT_LE(cv::norm(mosaic(cv::Rect(at, expected.size())), expected, cv::NORM_INF), 1);
    EXPECT_TRUE(contains(outcome.out, "range            ")) << outcome.out;
}

void expectAutomaticRange(const std::string& arguments) {
    expectMosaic(arguments, percentile(0.001), percentile(0.999));
}

class Depth : public ::testing::Test {
  protected:
    void writeFrames(const std::string& extension) {
        for (std::int32_t k = 0; k < frameCount; ++k)
            cv::imwrite("f" + std::to_string(k) + extension, frameOf(deepPicture(), k));
    }

    ScratchDirectory directory_;
};

TEST_F(Depth, TwelveBitsInSixteenAreNotBlack) {
    writeFrames(".png");
    expectAutomaticRange("f0.png f1.png f2.png f3.png f4.png");
    const Outcome outcome = stitch("f0.png f1.png -o m.png");
    EXPECT_TRUE(contains(outcome.err, "become 1 to 255; --range sets other ones")) << outcome.err;
}

TEST_F(Depth, AGivenRangeIsUsedAsItIs) {
    writeFrames(".tif");
    expectMosaic("f0.tif f1.tif f2.tif f3.tif f4.tif --range 300,3900", 300, 3900);
    EXPECT_FALSE(contains(stitch("f0.tif f1.tif -o m.png --range 300,3900").err, "--range"));
}

TEST_F(Depth, AFullRangeIsThatOfTheSamples) {
    writeFrames(".png");
    stitch("f0.png f1.png -o m.png --range full --report r.jsonl");
    EXPECT_EQ(readReport("r.jsonl").frames[0]["range"], nlohmann::json::array({0.0, 65535.0}));
}

TEST_F(Depth, ARangeThatIsTooNarrowIsTold) {
    writeFrames(".png");
    const Outcome outcome = stitch("f0.png f1.png f2.png f3.png f4.png -o m.png --range 300,2000");
    EXPECT_TRUE(contains(outcome.err, "5 frames are brighter than the range 300 to 2000; try --range 300,"))
        << outcome.err;
}

TEST_F(Depth, AStackOfPagesIsAScan) {
    const cv::Mat picture = deepPicture();
    writeTiffFile("s.tif", {}, {frameCount, 320, 240, "ImageJ=1.53t\nimages=5\nslices=5\n"},
                  [&](int page, int r, int c, int) { return picture.at<std::uint16_t>(r, c + step * page); });
    expectAutomaticRange("s.tif");
    const Report report = readReport("r.jsonl");
    EXPECT_EQ(report.frames[2]["file"], "s.tif#3");
    EXPECT_EQ(report.frames[2]["page"], 3);
}

TEST_F(Depth, FloatingPointIsRead) {
    const cv::Mat picture = deepPicture();
    writeTiffFile("s.tif", {32, 1, 3, 1, 1, 1, false}, {frameCount, 320, 240},
                  [&](int page, int r, int c, int) { return picture.at<std::uint16_t>(r, c + step * page); });
    expectAutomaticRange("s.tif");
}

TEST_F(Depth, OneChannelOfAnOmeStackIsChosen) {
    const cv::Mat picture = deepPicture();
    writeTiffFile(
        "s.ome.tif", {},
        {2 * frameCount, 320, 240,
         "<?xml version=\"1.0\"?><OME><Image ID=\"Image:0\"><Pixels DimensionOrder=\"XYCZT\" SizeC=\"2\" "
         "SizeZ=\"1\" SizeT=\"5\"/></Image></OME>"},
        [&](int page, int r, int c, int) {
            return page % 2 == 0 ? 100 : picture.at<std::uint16_t>(r, c + step * (page / 2));
        });
    const Outcome outcome = stitch("s.ome.tif -o m.png");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err,
                         "it holds 2 channels of 5 places; choose one view, for instance the first by "
                         "--pages 1,2,5"))
        << outcome.err;
    expectAutomaticRange("s.ome.tif --pages 2,2");
}

TEST_F(Depth, WhatIsNotReadIsNamed) {
    directory_.write("slide.czi", "ZISRAWFILE");
    directory_.write("slide.png", "ZISRAWFILE");
    Outcome outcome = stitch("slide.czi -o m.png");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(contains(outcome.err, "slide.czi is a Zeiss CZI file")) << outcome.err;
    outcome = stitch("slide.png -o m.png");
    EXPECT_TRUE(contains(outcome.err, "slide.png is left out: it is a Zeiss CZI file, and only PNG"))
        << outcome.err;
}

/// A TIFF file of a few bytes that claims to be a grey picture of so many pixels a side.
std::string emptyClaim(std::uint16_t side) {
    std::string file("II*\0\x08\0\0\0\x06\0", 10);
    const auto number = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) file += static_cast<char>(value >> (8 * i));
    };
    const std::uint32_t fields[][3] = {{256, 3, side}, {257, 3, side}, {258, 3, 8},
                                       {262, 3, 1},    {273, 4, 8},    {279, 4, 20}};
    for (const auto& [tag, type, value] : fields) {
        number(tag, 2);
        number(type, 2);
        number(1, 4);
        number(value, 4);
    }
    number(0, 4);
    return file;
}

TEST_F(Depth, AFileThatOnlyClaimsToBeLargeCostsNoMemory) {
    directory_.write("claim.tif", emptyClaim(32000));
    const Outcome outcome = shell("ulimit -v 2000000; exec $STITCH claim.tif claim.tif -o m.png");
    if (contains(outcome.err, "Sanitizer")) GTEST_SKIP() << "the sanitizer needs the address space";
    EXPECT_TRUE(
        contains(outcome.err, "claim.tif is left out: it is a TIFF picture that is damaged or cut off"))
        << outcome.err;
    EXPECT_FALSE(contains(outcome.err, "out of memory")) << outcome.err;
}

}  // namespace
}  // namespace brantel::programs::test
