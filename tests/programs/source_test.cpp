#include "frames/source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "pictures/image_io.h"
#include "support/scratch_directory.h"
#include "system/files.h"

#ifdef __linux__
#include <opencv2/imgcodecs.hpp>

#include "tiff_files.h"
#endif

namespace brantel::programs {
namespace {

using brantel::test::ScratchDirectory;

std::unique_ptr<FrameSource> open(const std::vector<std::string>& inputs,
                                  const ReadingSettings& reading = {}) {
    SourceSettings settings;
    settings.inputs = inputs;
    settings.reading = reading;
    return openSource(settings, listInputs(inputs));
}

std::string messageFor(const std::vector<std::string>& inputs) {
    try {
        open(inputs);
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

#ifdef __linux__
cv::Mat ramp(int type, double scale, double offset) {
    cv::Mat picture(30, 40, type);
    for (int r = 0; r < picture.rows; ++r)
        for (int c = 0; c < picture.cols; ++c)
            picture.at<std::uint16_t>(r, c) = static_cast<std::uint16_t>(offset + scale * (40 * r + c));
    return picture;
}
#endif

TEST(NaturalOrder, ComparesDigitsAsNumbers) {
    EXPECT_TRUE(naturallyBefore("frame2.png", "frame10.png"));
    EXPECT_FALSE(naturallyBefore("frame10.png", "frame2.png"));
    EXPECT_TRUE(naturallyBefore("a9b10", "a10b2"));
    EXPECT_TRUE(naturallyBefore("a", "a1"));
    EXPECT_TRUE(naturallyBefore("scan99999999999999999999", "scan100000000000000000000"));
}

TEST(NaturalOrder, IsAnOrderAlsoForLeadingZeros) {
    EXPECT_FALSE(naturallyBefore("f1", "f1"));
    EXPECT_NE(naturallyBefore("f1", "f01"), naturallyBefore("f01", "f1"));
    EXPECT_TRUE(naturallyBefore("f001", "f2"));
    std::vector<std::string> names{"f10", "f1", "f02", "f3", "f01", "g", "f"};
    std::sort(names.begin(), names.end(), naturallyBefore);
    EXPECT_EQ(names, (std::vector<std::string>{"f", "f01", "f1", "f02", "f3", "f10", "g"}));
}

TEST(PicturesIn, ListsPicturesOnlyInNaturalOrder) {
    const ScratchDirectory directory;
    for (const char* name : {"f10.png", "f2.PNG", "f1.jpg", "truth.csv", ".hidden.png"})
        directory.write(name, "x");
    std::vector<std::string> names;
    for (const auto& path : picturesIn(directory.path())) names.push_back(path.filename().string());
    EXPECT_EQ(names, (std::vector<std::string>{"f1.jpg", "f2.PNG", "f10.png"}));
}

TEST(OpenSource, NamesWhatIsWrongWithTheInput) {
    const ScratchDirectory directory;
    directory.write("notes.txt", "no video");
    directory.write("slide.czi", "ZISRAWFILE");
    EXPECT_EQ(messageFor({"missing.png"}), "missing.png does not exist; check the name");
    EXPECT_NE(messageFor({"notes.txt"}).find("notes.txt is a text file"), std::string::npos);
    EXPECT_NE(messageFor({"slide.czi"}).find("slide.czi is a Zeiss CZI file"), std::string::npos);
    const std::string folder = messageFor({directory.path().string()});
    EXPECT_NE(folder.find("no pictures in the folder"), std::string::npos) << folder;
    EXPECT_NE(folder.find("it holds 1 ."), std::string::npos) << folder;
}

TEST(OpenSource, NamesWhatCannotBeStitchedTogether) {
    const ScratchDirectory directory;
    directory.write("one.avi", "RIFF....AVI LIST");
    directory.write("two.avi", "RIFF....AVI LIST");
    writePicture("p.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    const std::string two = messageFor({"one.avi", "two.avi"});
    EXPECT_NE(two.find("one video, camera or stream is stitched at a time"), std::string::npos) << two;
    EXPECT_NE(two.find("one.avi, two.avi"), std::string::npos) << two;
    const std::string mixed = messageFor({"p.png", "two.avi"});
    EXPECT_NE(mixed.find("two.avi is no picture (PNG"), std::string::npos) << mixed;
}

TEST(OpenSource, KnowsPicturesWithoutTheirExtension) {
    const ScratchDirectory directory;
    writePicture("p.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    std::filesystem::rename("p.png", "frame");
    Frame frame;
    ASSERT_TRUE(open({"frame"})->next(frame));
    EXPECT_EQ(frame.image.size(), cv::Size(30, 20));
}

TEST(OpenSource, TellsWhereAFrameCanBeReadAgain) {
    const ScratchDirectory directory;
    writePicture("p.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    Frame frame;
    ASSERT_TRUE(open({"./p.png"})->next(frame));
    EXPECT_EQ(std::filesystem::u8path(frame.origin.path), std::filesystem::current_path() / "p.png");
    EXPECT_EQ(frame.origin.page, 1U);
    EXPECT_EQ(frame.origin.bytes, static_cast<std::int64_t>(std::filesystem::file_size("p.png")));
    EXPECT_GT(frame.origin.modified, std::int64_t{1500000000} * 1000000000);
    EXPECT_FALSE(frame.origin.range.has_value());
}

#ifdef __linux__
TEST(OpenSource, SettlesTheAutomaticRangeByTheFirstFramesAndKeepsIt) {
    const ScratchDirectory directory;
    std::vector<std::string> names;
    for (int k = 0; k < 12; ++k) {
        names.push_back("f" + std::to_string(k) + ".png");
        cv::imwrite(names.back(), ramp(CV_16UC1, 1, k < 4 ? 1000 : k < 8 ? 2000 : 9000));
    }
    const auto source = open(names);
    Frame frame;
    for (int k = 0; k < 12; ++k) {
        ASSERT_TRUE(source->next(frame));
        ASSERT_TRUE(frame.origin.range.has_value());
        EXPECT_NEAR(frame.origin.range->low, 1001, 20) << k;
        EXPECT_NEAR(frame.origin.range->high, 3199, 20) << "the first eight frames decide";
        EXPECT_EQ(frame.beyond.has_value(), k >= 8) << k;
    }
}

TEST(OpenSource, AGivenRangeNeedsNoExamples) {
    const ScratchDirectory directory;
    cv::imwrite("f.png", ramp(CV_16UC1, 1, 0));
    ReadingSettings reading;
    reading.range = {RangeSetting::Kind::given, {0, 1199}};
    Frame frame;
    ASSERT_TRUE(open({"f.png"}, reading)->next(frame));
    EXPECT_EQ(frame.image.type(), CV_8UC1);
    EXPECT_EQ(frame.image.at<std::uint8_t>(0, 0), 1);
    EXPECT_EQ(frame.image.at<std::uint8_t>(29, 39), 255);
    EXPECT_NEAR(frame.image.at<std::uint8_t>(15, 0), 128, 1);
}

TEST(OpenSource, TakesTheChosenPagesOfAStack) {
    const ScratchDirectory directory;
    const auto sample = [](int page, int, int, int) { return 10.0 * page + 10; };
    test::writeTiffFile("s.tif", {8, 1, 1, 1, 1, 1, false}, {7, 40, 30, "ImageJ=1\nimages=6\nchannels=2\n"},
                        sample);
    EXPECT_NE(messageFor({"s.tif"}).find("it holds 2 channels of 1 place; choose one view"),
              std::string::npos)
        << messageFor({"s.tif"});
    ReadingSettings reading;
    reading.pages = PageChoice{2, 2, 0};
    const auto source = open({"s.tif"}, reading);
    EXPECT_EQ(source->count(), 3U);
    Frame frame;
    for (const std::size_t page : {2U, 4U, 6U}) {
        ASSERT_TRUE(source->next(frame));
        EXPECT_EQ(frame.origin.page, page);
        EXPECT_EQ(frame.name, "s.tif#" + std::to_string(page));
        EXPECT_EQ(frame.image.at<std::uint8_t>(0, 0), 10 * page);
    }
    EXPECT_FALSE(source->next(frame));
    reading.pages = PageChoice{1, 3, 2};
    EXPECT_EQ(open({"s.tif"}, reading)->count(), 2U);
    reading.pages = PageChoice{9, 1, 0};
    EXPECT_FALSE(open({"s.tif"}, reading)->next(frame));
}
#endif

TEST(OpenSource, ReadsAllFramesAsTheFirstReadableOneIsStored) {
    const ScratchDirectory directory;
    directory.write("a.png", "damaged");
    writePicture("b.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    writePicture("c.png", cv::Mat(20, 30, CV_8UC3, cv::Scalar(9, 9, 9)));
    const auto source = open({"a.png", "b.png", "c.png"});
    EXPECT_EQ(source->count(), 3U);
    Frame frame;
    ASSERT_TRUE(source->next(frame));
    EXPECT_TRUE(frame.image.empty());
    ASSERT_TRUE(source->next(frame));
    EXPECT_EQ(frame.image.type(), CV_8UC1);
    ASSERT_TRUE(source->next(frame));
    EXPECT_EQ(frame.image.type(), CV_8UC1);
    EXPECT_EQ(frame.image.at<std::uint8_t>(3, 3), 9);
    EXPECT_EQ(frame.index, 2U);
    EXPECT_FALSE(source->next(frame));
}

TEST(ReadingAhead, GivesTheSameFramesInTheSameOrder) {
    const ScratchDirectory directory;
    std::vector<std::string> names;
    for (int k = 0; k < 7; ++k) {
        names.push_back("f" + std::to_string(k) + ".png");
        if (k == 3) {
            directory.write(names.back(), "damaged");
        } else {
            writePicture(names.back(), cv::Mat(20, 30, CV_8UC1, cv::Scalar(k)));
        }
    }
    const auto source = open(names);
    EXPECT_EQ(source->count(), 7U);
    Frame frame;
    for (int k = 0; k < 7; ++k) {
        ASSERT_TRUE(source->next(frame));
        EXPECT_EQ(frame.index, static_cast<std::size_t>(k));
        EXPECT_EQ(frame.image.empty(), k == 3);
        if (k != 3) {
            EXPECT_EQ(frame.image.at<std::uint8_t>(0, 0), k);
        }
    }
    EXPECT_FALSE(source->next(frame));
}

TEST(OpenSource, ReadsColourWhenAsked) {
    const ScratchDirectory directory;
    writePicture("b.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    Frame frame;
    ReadingSettings reading;
    reading.channels = Channels::colour;
    ASSERT_TRUE(open({"b.png"}, reading)->next(frame));
    EXPECT_EQ(frame.image.type(), CV_8UC3);
}

}  // namespace
}  // namespace brantel::programs
