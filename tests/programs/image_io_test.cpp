#include "pictures/image_io.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "scan/generated_picture.h"
#include "support/scratch_directory.h"
#include "system/files.h"

namespace brantel::programs {
namespace {

using brantel::test::ScratchDirectory;

std::vector<std::uint8_t> fileOf(const cv::Mat& picture, const std::string& name) {
    const ScratchDirectory directory;
    writePicture(name, picture);
    return readFile(name);
}

/// The file with a preview inside, as cameras write it: an APP1 segment that holds a whole small JPEG.
std::vector<std::uint8_t> withPreview(const std::vector<std::uint8_t>& file) {
    const std::vector<std::uint8_t> preview = fileOf(cv::Mat(8, 8, CV_8UC1, cv::Scalar(50)), "small.jpg");
    const std::size_t length = preview.size() + 2;
    std::vector<std::uint8_t> result(file.begin(), file.begin() + 2);
    for (const std::size_t byte : {std::size_t{0xFF}, std::size_t{0xE1}, length >> 8, length & 0xFF})
        result.push_back(static_cast<std::uint8_t>(byte));
    result.insert(result.end(), preview.begin(), preview.end());
    result.insert(result.end(), file.begin() + 2, file.end());
    return result;
}

TEST(DecodePicture, GivesBackWhatWasWritten) {
    const cv::Mat picture = generatePicture({64, 48}, 1);
    for (const char* name : {"p.png", "p.tif"}) {
        if (!isPictureName(name)) continue;  // not every build reads what it writes
        const cv::Mat read = decodePicture(fileOf(picture, name), Channels::asStored);
        ASSERT_EQ(read.size(), picture.size()) << name;
        EXPECT_EQ(cv::norm(read, picture, cv::NORM_INF), 0) << name;
    }
    EXPECT_EQ(decodePicture(fileOf(picture, "p.jpg"), Channels::grey).type(), CV_8UC1);
}

TEST(DecodePicture, RefusesWhatBreaksOff) {
    const cv::Mat picture = generatePicture({160, 120}, 1);
    for (const char* name : {"p.png", "p.jpg", "p.tif"}) {
        if (!isPictureName(name)) continue;  // not every build reads what it writes
        std::vector<std::uint8_t> file = fileOf(picture, name);
        ASSERT_FALSE(decodePicture(file, Channels::asStored).empty()) << name;
        file.resize(file.size() / 2);
        EXPECT_TRUE(decodePicture(file, Channels::asStored).empty()) << name;
        file.resize(3);
        EXPECT_TRUE(decodePicture(file, Channels::asStored).empty()) << name;
    }
    EXPECT_TRUE(decodePicture({}, Channels::asStored).empty());
    EXPECT_TRUE(decodePicture({'n', 'o', 'n', 'e'}, Channels::asStored).empty());
}

TEST(DecodePicture, TakesPnmWithAllItsBytesOnly) {
    for (const std::string& header :
         {std::string("P5 4 3 255\n"), std::string("P5\n# by hand 9 9\n4 3\n255\n"),
          std::string("P6 2 2 255\n"), std::string("P5 3 2 65535\n")}) {
        std::vector<std::uint8_t> file(header.begin(), header.end());
        file.insert(file.end(), 12, 77);
        const cv::Mat read = decodePicture(file, Channels::asStored);
        EXPECT_EQ(read.total() * read.elemSize(), 12U) << header;
        file.pop_back();
        EXPECT_TRUE(decodePicture(file, Channels::asStored).empty()) << header;
    }
    const std::string huge = "P5 4000000000 4000000000 255\nab";
    EXPECT_TRUE(decodePicture({huge.begin(), huge.end()}, Channels::asStored).empty());
}

TEST(DecodePicture, LeavesDamagedDicomAlone) {
    std::vector<std::uint8_t> file(128, 9);
    for (const char byte : std::string("DICMEN\0:", 8)) file.push_back(static_cast<std::uint8_t>(byte));
    EXPECT_TRUE(decodePicture(file, Channels::asStored).empty());
    const std::string disguises[] = {"P7\n", "P5 80 80 255\n", "\xFF\x4F\xFF\x51", "BM"};
    for (const std::string& beginning : disguises) {
        std::copy(beginning.begin(), beginning.end(), file.begin());
        EXPECT_TRUE(decodePicture(file, Channels::asStored).empty()) << beginning;
    }
}

TEST(DecodePicture, IsNotTakenInByThePreviewOfABrokenJpeg) {
    std::vector<std::uint8_t> file = withPreview(fileOf(generatePicture({160, 120}, 1), "p.jpg"));
    ASSERT_FALSE(decodePicture(file, Channels::asStored).empty());
    file.resize(file.size() * 3 / 4);
    EXPECT_TRUE(decodePicture(file, Channels::asStored).empty());
}

TEST(WritePicture, NamesTheFormatsWhenAPictureIsTooLargeForIt) {
    const ScratchDirectory directory;
    EXPECT_THROW(writePicture("p.jpg", cv::Mat(1, 70000, CV_8UC1, cv::Scalar(1))), OutputError);
    EXPECT_FALSE(std::filesystem::exists("p.jpg"));
}

}  // namespace
}  // namespace brantel::programs
