#include "picture/picture_file.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <thread>

#include "picture_folder.h"
#include "placed_scan.h"
#include "support/scratch_directory.h"

namespace brantel::test {
namespace {

namespace fs = std::filesystem;
using render::Format;
using render::formatOf;
using render::formatProblem;
using render::PictureFile;
using render::writePicture;

constexpr std::int32_t allTypes[] = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};

/// Larger than a tile and of smooth content, so that JPEG keeps it.
struct SmoothScan : PlacedScan {
    explicit SmoothScan(std::int32_t type) : PlacedScan(settingsOf(type)) {
        for (std::size_t i = 0; i < layout.frames.size(); ++i) {
            cv::Mat& frame = frames.frames[layout.frames[i].frame];
            for (std::int32_t y = 0; y < frame.rows; ++y)
                for (std::int32_t x = 0; x < frame.cols * frame.channels(); ++x) {
                    const cv::Point at = layout.frames[i].at + cv::Point(x / frame.channels(), y);
                    const std::int32_t value = (at.x / 4 + at.y / 3 + 30 * (x % frame.channels())) % 256;
                    if (frame.depth() == CV_8U)
                        frame.ptr(y)[x] = static_cast<std::uint8_t>(value);
                    else
                        frame.ptr<std::uint16_t>(y)[x] = static_cast<std::uint16_t>(value * 257 + at.x % 101);
                }
        }
    }

    static ScanSettings settingsOf(std::int32_t type) {
        ScanSettings settings;
        settings.type = type;
        settings.frameSize = {211, 187};
        settings.step = {170, 150};
        return settings;
    }
};

void write(PlacedScan& scan, const fs::path& path, double pixelSize = 0) {
    const auto format = formatOf(path);
    ASSERT_TRUE(format);
    writePicture({path, *format, pixelSize, 90}, scan.parts(), {});
}

TEST(PictureFile, FormatsAreKnownByTheNamesEnd) {
    EXPECT_EQ(formatOf("a/b.tif"), Format::tiff);
    EXPECT_EQ(formatOf("B.TIFF"), Format::tiff);
    EXPECT_EQ(formatOf("b.ome.tif"), Format::omeTiff);
    EXPECT_EQ(formatOf("b.OME.Tiff"), Format::omeTiff);
    EXPECT_EQ(formatOf("b.dzi"), Format::deepZoom);
    EXPECT_EQ(formatOf("b.png"), Format::png);
    EXPECT_EQ(formatOf("b.jpg"), Format::jpeg);
    EXPECT_EQ(formatOf("b.Jpeg"), Format::jpeg);
    for (const char* name : {"b.bmp", "b", "", "tif", "b.tif.gz"})
        EXPECT_EQ(formatOf(name), std::nullopt) << name;
}

TEST(PictureFile, SaysWhatAFormatCannotHold) {
    for (const Format format : {Format::tiff, Format::omeTiff, Format::deepZoom, Format::png}) {
        for (const std::int32_t type : allTypes)
            EXPECT_EQ(formatProblem(format, {65501, 7}, type), std::nullopt);
        EXPECT_NE(formatProblem(format, {10000001, 1}, CV_8UC1), std::nullopt);
        EXPECT_NE(formatProblem(format, {0, 0}, CV_8UC1), std::nullopt);
    }
    EXPECT_EQ(formatProblem(Format::jpeg, {65500, 65500}, CV_8UC3), std::nullopt);
    EXPECT_NE(formatProblem(Format::jpeg, {65501, 1}, CV_8UC3), std::nullopt);
    EXPECT_NE(formatProblem(Format::jpeg, {1, 65501}, CV_8UC3), std::nullopt);
    EXPECT_NE(formatProblem(Format::jpeg, {10, 10}, CV_16UC1), std::nullopt);
    EXPECT_NE(formatProblem(Format::png, {1000001, 1}, CV_8UC1), std::nullopt);
}

TEST(PictureFile, LosslessFormatsKeepEverySample) {
    const ScratchDirectory scratch;
    for (const std::int32_t type : allTypes) {
        SmoothScan scan(type);
        const cv::Mat expected = pictureByDefinition(scan, render::Blend::feather);
        for (const char* name : {"a.tif", "a.ome.tif", "a.png"}) {
            write(scan, name);
            EXPECT_TRUE(sameBytes(readPicture(name), expected)) << name << " type " << type;
            fs::remove(name);
        }
        EXPECT_TRUE(contentsOf(".").empty());
    }
}

TEST(PictureFile, DeepZoomHoldsThePicture) {
    const ScratchDirectory scratch;
    for (const std::int32_t type : allTypes) {
        SmoothScan scan(type);
        const cv::Mat expected = pictureByDefinition(scan, render::Blend::feather);
        write(scan, "a.dzi");
        const bool narrow = CV_MAT_DEPTH(type) == CV_8U;
        const cv::Mat read = readDeepZoom("a_files", expected.size(), narrow ? ".jpeg" : ".png");
        if (narrow)
            EXPECT_LT(meanDifference(read, expected), 2);
        else
            EXPECT_TRUE(sameBytes(read, expected));
        auto xml = attributesOf(contentsOf(".")["a.dzi"]);
        EXPECT_EQ(xml["Size/Width"], std::to_string(expected.cols));
        EXPECT_EQ(xml["Size/Height"], std::to_string(expected.rows));
        EXPECT_EQ(xml["Image/Format"], narrow ? "jpeg" : "png");
        EXPECT_EQ(contentsOf(".").count("a_files/vips-properties.xml"), 0U);
        fs::remove("a.dzi");
        fs::remove_all("a_files");
        EXPECT_TRUE(contentsOf(".").empty());
    }
}

TEST(PictureFile, JpegIsNearThePicture) {
    const ScratchDirectory scratch;
    for (const std::int32_t type : {CV_8UC1, CV_8UC3}) {
        SmoothScan scan(type);
        write(scan, "a.jpg");
        EXPECT_LT(meanDifference(readPicture("a.jpg"), pictureByDefinition(scan, render::Blend::feather)), 2);
    }
}

TEST(PictureFile, SixteenBitsAreNoJpeg) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_16UC1);
    EXPECT_THROW(write(scan, "a.jpg"), std::runtime_error);
    EXPECT_TRUE(contentsOf(".").empty());
}

/// A file's directory as libtiff sees it.
struct TiffDirectory {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t tileWidth = 0;
    std::uint32_t type = 0;
    std::uint16_t subDirectories = 0;
    std::uint16_t unit = 0;
    float resolution = 0;
    std::string description;
};

std::vector<TiffDirectory> directoriesOf(const char* name) {
    std::vector<TiffDirectory> directories;
    TIFF* file = TIFFOpen(name, "r");
    if (file == nullptr) return directories;
    do {
        TiffDirectory directory;
        TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &directory.width);
        TIFFGetField(file, TIFFTAG_IMAGELENGTH, &directory.height);
        TIFFGetField(file, TIFFTAG_TILEWIDTH, &directory.tileWidth);
        TIFFGetField(file, TIFFTAG_SUBFILETYPE, &directory.type);
        TIFFGetField(file, TIFFTAG_RESOLUTIONUNIT, &directory.unit);
        TIFFGetField(file, TIFFTAG_XRESOLUTION, &directory.resolution);
        const char* description = nullptr;
        if (TIFFGetField(file, TIFFTAG_IMAGEDESCRIPTION, &description) != 0)
            directory.description = description;
        std::uint64_t* offsets = nullptr;
        TIFFGetField(file, TIFFTAG_SUBIFD, &directory.subDirectories, &offsets);
        directories.push_back(directory);
    } while (TIFFReadDirectory(file) != 0);
    TIFFClose(file);
    return directories;
}

TEST(PictureFile, TiffIsATiledPyramid) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_8UC3);
    write(scan, "a.tif", 0.5);
    EXPECT_EQ(contentsOf(".")["a.tif"].substr(0, 4), std::string("II\x2B\0", 4)) << "a BigTIFF";
    const auto directories = directoriesOf("a.tif");
    ASSERT_GE(directories.size(), 2U);
    EXPECT_EQ(directories[0].width, static_cast<std::uint32_t>(scan.layout.size.width));
    EXPECT_EQ(directories[0].height, static_cast<std::uint32_t>(scan.layout.size.height));
    EXPECT_EQ(directories[1].width, directories[0].width / 2);
    EXPECT_NE(directories[1].type & FILETYPE_REDUCEDIMAGE, 0U);
    for (const TiffDirectory& directory : directories) EXPECT_EQ(directory.tileWidth, 256U);
    EXPECT_EQ(directories[0].unit, RESUNIT_CENTIMETER);
    EXPECT_FLOAT_EQ(directories[0].resolution, 20000);
}

TEST(PictureFile, OmeTiffDescribesItselfAndHidesItsPyramid) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_16UC3);
    write(scan, "a.ome.tif", 0.25);
    const auto directories = directoriesOf("a.ome.tif");
    ASSERT_EQ(directories.size(), 1U);
    EXPECT_GE(directories[0].subDirectories, 1);
    EXPECT_FLOAT_EQ(directories[0].resolution, 40000);
    auto xml = attributesOf(directories[0].description);
    EXPECT_EQ(xml["Pixels/SizeX"], std::to_string(scan.layout.size.width));
    EXPECT_EQ(xml["Pixels/SizeY"], std::to_string(scan.layout.size.height));
    EXPECT_EQ(xml["Pixels/Type"], "uint16");
    EXPECT_EQ(xml["Pixels/PhysicalSizeX"], "0.25");
}

TEST(PictureFile, PngAndJpegKnowThePixelSize) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_8UC1);
    for (const char* name : {"a.png", "a.jpg"})
        for (const double pixelSize : {0.5, 10.0}) {
            write(scan, name, pixelSize);
            EXPECT_NEAR(resolutionOf(name), 1000 / pixelSize, 0.2) << name;
        }
    write(scan, "a.png", 0.1);
    EXPECT_NEAR(resolutionOf("a.png"), 10000, 0.2);
    write(scan, "a.jpg", 0.1);
    EXPECT_LT(resolutionOf("a.jpg"), 2) << "it does not fit, and stays unknown";
}

TEST(PictureFile, EveryFormatHoldsASingleRowColumnAndPixel) {
    const ScratchDirectory scratch;
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(1, 700), cv::Size(700, 1)})
        for (const std::int32_t type : allTypes) {
            ScanSettings settings;
            settings.frameSize = size;
            settings.type = type;
            settings.columns = settings.rows = 1;
            settings.jitter = 0;
            PlacedScan scan(settings);
            const cv::Mat expected = pictureByDefinition(scan, render::Blend::feather);
            for (const char* name : {"a.tif", "a.ome.tif", "a.png"}) {
                write(scan, name);
                EXPECT_TRUE(sameBytes(readPicture(name), expected))
                    << name << " " << size.width << " x " << size.height << " type " << type;
            }
            write(scan, "a.dzi");
            if (CV_MAT_DEPTH(type) == CV_16U)
                EXPECT_TRUE(sameBytes(readDeepZoom("a_files", size, ".png"), expected))
                    << size.width << " x " << size.height;
            else
                EXPECT_EQ(readDeepZoom("a_files", size, ".jpeg").size(), size);
            if (CV_MAT_DEPTH(type) == CV_16U) continue;
            write(scan, "a.jpg");
            EXPECT_EQ(readPicture("a.jpg").size(), size);
        }
}

TEST(PictureFile, NamesMayHoldAnything) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_8UC1);
    const cv::Mat expected = pictureByDefinition(scan, render::Blend::feather);
    const fs::path folder = "a [Q=1] %s \xC3\xA4.d";
    fs::create_directory(folder);
    for (const std::string name : {"b [x=1],%d.tif", "-b.png"}) {
        write(scan, folder / name);
        fs::copy_file(folder / name, "plain.tif", fs::copy_options::overwrite_existing);
        EXPECT_TRUE(sameBytes(readPicture("plain.tif"), expected)) << name;
    }
    write(scan, folder / "b.c [y].dzi");
    fs::rename(folder / "b.c [y]_files", "plain_files");
    EXPECT_LT(meanDifference(readDeepZoom("plain_files", expected.size(), ".jpeg"), expected), 2);
}

TEST(PictureFile, ReplacesAnOlderPicture) {
    const ScratchDirectory scratch;
    SmoothScan scan(CV_8UC1);
    scratch.write("a.tif", "old");
    write(scan, "a.tif");
    EXPECT_FALSE(readPicture("a.tif").empty());
    fs::create_directories("b_files/99");
    scratch.write("b_files/99/old.jpeg", "old");
    scratch.write("b.dzi", "old");
    write(scan, "b.dzi");
    EXPECT_EQ(contentsOf(".").count("b_files/99/"), 0U);
    EXPECT_FALSE(attributesOf(contentsOf(".")["b.dzi"]).empty());
    EXPECT_FALSE(readDeepZoom("b_files", scan.layout.size, ".jpeg").empty());
}

TEST(PictureFile, TellsItsProgressToTheEnd) {
    const ScratchDirectory scratch;
    for (const char* name : {"a.tif", "a.ome.tif", "a.dzi", "a.png", "a.jpg"}) {
        SmoothScan scan(CV_8UC3);
        std::size_t calls = 0;
        std::size_t last = 0;
        const auto caller = std::this_thread::get_id();
        const auto progress = [&](std::size_t done, std::size_t total) {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            EXPECT_LE(last, done);
            EXPECT_LE(done, total);
            EXPECT_GT(total, 0U);
            last = done;
            ++calls;
            return true;
        };
        writePicture({name, *formatOf(name), 0, 90}, scan.parts(), progress);
        EXPECT_GT(calls, 1U) << name;
    }
}

}  // namespace
}  // namespace brantel::test
