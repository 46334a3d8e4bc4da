#include "source.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "files.h"
#include "support/scratch_directory.h"

namespace host {
namespace {

using brantel::test::ScratchDirectory;

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
    EXPECT_THROW(openSource({"missing.png"}, Channels::asStored), InputError);
    EXPECT_THROW(openSource({directory.path().string()}, Channels::asStored), InputError);
    EXPECT_THROW(openSource({"notes.txt"}, Channels::asStored), InputError);
    try {
        openSource({"missing.png"}, Channels::asStored);
    } catch (const InputError& error) {
        EXPECT_NE(std::string(error.what()).find("missing.png"), std::string::npos);
    }
}

TEST(OpenSource, ReadsAllFramesAsTheFirstReadableOneIsStored) {
    const ScratchDirectory directory;
    directory.write("a.png", "damaged");
    writePicture("b.png", cv::Mat(20, 30, CV_8UC1, cv::Scalar(7)));
    writePicture("c.png", cv::Mat(20, 30, CV_8UC3, cv::Scalar(9, 9, 9)));
    const auto source = openSource({"a.png", "b.png", "c.png"}, Channels::asStored);
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
    const auto source = readingAhead(openSource(names, Channels::asStored));
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
    ASSERT_TRUE(openSource({"b.png"}, Channels::colour)->next(frame));
    EXPECT_EQ(frame.image.type(), CV_8UC3);
}

}  // namespace
}  // namespace host
