// TIFF files read as they are stored, whatever their samples are like.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <filesystem>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "pictures/stored_file.h"
#include "pictures/tiff_writer.h"
#include "support/scratch_directory.h"
#include "system/files.h"
#include "tiff_files.h"

namespace brantel::programs::test {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

double gradient(int page, int row, int column, int channel) {
    return page * 7 + row * 3 + column * 2 + channel * 11;
}

Stored readBack(const TiffKind& kind, const TiffPages& pages = {}, std::size_t page = 0) {
    writeTiffFile("t.tif", kind, pages, gradient);
    return openStored("t.tif")->read(page, Channels::asStored);
}

/// The samples as doubles; for pictures in colour blue comes first.
void expectGradient(const Stored& stored, int depth, int channels, int page = 0) {
    ASSERT_EQ(stored.problem, "");
    ASSERT_EQ(stored.samples.type(), CV_MAKETYPE(depth, channels));
    cv::Mat samples;
    stored.samples.reshape(1).convertTo(samples, CV_64F);
    for (int r = 0; r < stored.samples.rows; ++r)
        for (int c = 0; c < stored.samples.cols; ++c)
            for (int k = 0; k < channels; ++k)
                ASSERT_EQ(samples.at<double>(r, c * channels + k), gradient(page, r, c, channels - 1 - k))
                    << r << ", " << c << ", channel " << k;
}

struct Case {
    const char* name;
    TiffKind kind;
    int depth;
    int channels;
};

class TiffSamples : public ::testing::TestWithParam<Case> {};

TEST_P(TiffSamples, AreReadAsTheyAreStored) {
    const ScratchDirectory directory;
    expectGradient(readBack(GetParam().kind), GetParam().depth, GetParam().channels);
}

constexpr int grey = PHOTOMETRIC_MINISBLACK;
constexpr int rgb = PHOTOMETRIC_RGB;
constexpr int uintKind = SAMPLEFORMAT_UINT;
constexpr int intKind = SAMPLEFORMAT_INT;
constexpr int floatKind = SAMPLEFORMAT_IEEEFP;
constexpr int apart = PLANARCONFIG_SEPARATE;

INSTANTIATE_TEST_SUITE_P(
    Kinds, TiffSamples,
    ::testing::Values(Case{"Bits8", {8, 1, uintKind, 1, grey, 1, false}, CV_8U, 1},
                      Case{"Bits8Colour", {8, 3, uintKind, 1, rgb, 1, false}, CV_8U, 3},
                      Case{"Bits8ColourApart", {8, 3, uintKind, apart, rgb, 1, false}, CV_8U, 3},
                      Case{"Bits16", {16, 1, uintKind, 1, grey, 1, false}, CV_16U, 1},
                      Case{"Bits16Tiled", {16, 1, uintKind, 1, grey, 1, true}, CV_16U, 1},
                      Case{"Bits16Lzw", {16, 1, uintKind, 1, grey, COMPRESSION_LZW, false}, CV_16U, 1},
                      Case{"Bits16Colour", {16, 3, uintKind, 1, rgb, 1, false}, CV_16U, 3},
                      Case{"Bits16ColourApart", {16, 3, uintKind, apart, rgb, 1, false}, CV_16U, 3},
                      Case{"Bits16ColourTiledApart", {16, 3, uintKind, apart, rgb, 1, true}, CV_16U, 3},
                      Case{"Bits16Transparent", {16, 4, uintKind, 1, rgb, 1, false}, CV_16U, 3},
                      Case{"Bits16GreyTransparent", {16, 2, uintKind, 1, grey, 1, false}, CV_16U, 1},
                      Case{"Bits12", {12, 1, uintKind, 1, grey, 1, false}, CV_16U, 1},
                      Case{"Bits10", {10, 1, uintKind, 1, grey, 1, false}, CV_16U, 1},
                      Case{"Bits32", {32, 1, uintKind, 1, grey, 1, false}, CV_64F, 1},
                      Case{"Signed16", {16, 1, intKind, 1, grey, 1, false}, CV_16S, 1},
                      Case{"Float32", {32, 1, floatKind, 1, grey, 1, false}, CV_32F, 1},
                      Case{"Float32Colour", {32, 3, floatKind, 1, rgb, 1, false}, CV_32F, 3},
                      Case{"Float64", {64, 1, floatKind, 1, grey, 1, false}, CV_64F, 1}),
    [](const auto& test) { return test.param.name; });

TEST(Tiff, DarkAndBrightAreTurnedRoundWhereTheFileSaysSo) {
    const ScratchDirectory directory;
    const Stored stored = readBack({16, 1, uintKind, 1, PHOTOMETRIC_MINISWHITE, 1, false});
    EXPECT_EQ(stored.samples.at<std::uint16_t>(2, 3), 65535 - 12);
}

TEST(Tiff, PagesOfAStackAreReadInAnyOrder) {
    const ScratchDirectory directory;
    writeTiffFile("s.tif", {}, {5, 40, 30}, gradient);
    const auto file = openStored("s.tif");
    ASSERT_EQ(file->pages(), 5U);
    for (const int page : {0, 3, 1, 4, 2})
        expectGradient(file->read(static_cast<std::size_t>(page), Channels::asStored), CV_16U, 1, page);
}

TEST(Tiff, ReducedCopiesAreNoPages) {
    const ScratchDirectory directory;
    writeTiffFile("s.tif", {}, {4, 40, 30, "", {1, 3}}, gradient);
    const auto file = openStored("s.tif");
    ASSERT_EQ(file->pages(), 2U);
    expectGradient(file->read(1, Channels::asStored), CV_16U, 1, 2);
}

TEST(Tiff, WhatIsNotReadIsNamedExactly) {
    const ScratchDirectory directory;
    const auto problem = [](const TiffKind& kind) { return readBack(kind).problem; };
    EXPECT_EQ(problem({16, 5, uintKind, 1, grey, 1, false}),
              "it is a TIFF picture with 5 channels in every pixel, which is not read");
    EXPECT_EQ(problem({16, 1, floatKind, 1, grey, 1, false}),
              "it is a TIFF picture with 16-bit float samples, which is not read");
}

TEST(Tiff, WhatBreaksOffIsNotTakenForAPicture) {
    const ScratchDirectory directory;
    for (const int bits : {8, 16}) {
        writeTiffFile("t.tif", {bits, 1, uintKind, 1, grey, 1, false}, {1, 200, 150}, gradient);
        fs::resize_file("t.tif", fs::file_size("t.tif") / 2);
        const Stored stored = openStored("t.tif")->read(0, Channels::asStored);
        EXPECT_TRUE(stored.samples.empty()) << bits;
        EXPECT_NE(stored.problem, "") << bits;
    }
}

TEST(Tiff, ImageJsLargeStacksAreNamed) {
    const ScratchDirectory directory;
    const Stored stored = readBack({}, {1, 40, 30, "ImageJ=1.53t\nimages=500\nslices=500\n"});
    EXPECT_TRUE(stored.samples.empty());
    EXPECT_NE(stored.problem.find("500 pictures in ImageJ's own layout"), std::string::npos)
        << stored.problem;
}

TEST(Tiff, ChannelsOfOnePlaceAreNotTakenForFrames) {
    const ScratchDirectory directory;
    writeTiffFile("s.tif", {}, {6, 40, 30, "ImageJ=1.53t\nimages=6\nchannels=3\nframes=2\n"}, gradient);
    const std::optional<StackPlan> plan = openStored("s.tif")->plan();
    ASSERT_TRUE(plan.has_value());
    EXPECT_EQ(plan->what, "3 channels of 2 places");
    EXPECT_EQ(plan->step, 3U);
    EXPECT_EQ(plan->count, 2U);
}

class WrittenTiff : public ::testing::TestWithParam<int> {};

TEST_P(WrittenTiff, IsReadBackByAnotherLibrary) {
    const ScratchDirectory directory;
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(7, 3), cv::Size(300, 500), cv::Size(70000, 40)}) {
        cv::Mat picture(size, GetParam());
        cv::randu(picture, 0, 256);
        writeTiff("w.tif", picture);
        const cv::Mat read = decodePicture(readFile("w.tif"), Channels::asStored);
        ASSERT_EQ(read.size(), size);
        EXPECT_EQ(cv::norm(read, picture, cv::NORM_INF), 0) << size;
    }
}

INSTANTIATE_TEST_SUITE_P(GreyAndColour, WrittenTiff, ::testing::Values(CV_8UC1, CV_8UC3));

}  // namespace
}  // namespace brantel::programs::test
