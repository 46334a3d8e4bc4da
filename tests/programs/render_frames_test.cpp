// Which frames a report's pictures are made of, where they lie, and how they are read.
#include <gtest/gtest.h>

#include <future>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "render/file_frames.h"
#include "render/frame_files.h"
#include "render/scan_frames.h"
#include "scan/generated_picture.h"
#include "support/scratch_directory.h"
#include "system/files.h"
#include "system/platform.h"
#include "system/time_text.h"
#include "tiff_files.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

ReportedFrame placedAt(cv::Point position, std::int32_t map = 1) {
    ReportedFrame frame;
    frame.state = FrameState::placed;
    frame.map = map;
    frame.position = position;
    return frame;
}

ReportedFrame unplaced(FrameState state, std::optional<cv::Point2d> stage = std::nullopt) {
    ReportedFrame frame;
    frame.state = state;
    frame.stage = stage;
    return frame;
}

TEST(ScanFramesOf, TakesWhatIsPlaced) {
    ScanReport report;
    report.frames = {placedAt({0, 0}), placedAt({90, -3}), unplaced(FrameState::skipped, cv::Point2d(5, 5)),
                     unplaced(FrameState::refused), placedAt({4, 4}, 2)};
    report.frames[1].joins = 1;
    report.frames[1].offset = cv::Point(90, -3);
    report.frames[4].joins = 3;
    report.frames[4].offset = cv::Point(4, 4);
    const ScanFrames scan = scanFramesOf(report);
    EXPECT_EQ(wantedOf(scan.frames), (std::vector<std::size_t>{0, 1, 4}));
    EXPECT_EQ(scan.nothingNew, 1U);
    EXPECT_EQ(scan.placeless, 1U);
    EXPECT_EQ(scan.frames[1].place, cv::Point2d(90, -3));
    EXPECT_EQ(scan.frames[1].joins, std::optional<std::size_t>(0));
    EXPECT_EQ(scan.frames[1].offset, cv::Point2d(90, -3));
    EXPECT_FALSE(scan.frames[1].fromStage);
    EXPECT_EQ(scan.frames[4].group, 2);
    EXPECT_FALSE(scan.frames[4].joins) << "a frame that is left out says nothing";
}

TEST(ScanFramesOf, PutsWhatOnlyTheStageKnowsBesideTheNearestFrame) {
    ScanReport report;
    report.frames = {placedAt({0, 0}), placedAt({1000, 40}, 2),
                     unplaced(FrameState::refused, cv::Point2d(1100, 10)),
                     unplaced(FrameState::waiting, cv::Point2d(-20, 35.5))};
    report.frames[0].stage = cv::Point2d(0, 0);
    report.frames[1].stage = cv::Point2d(1003, 0);
    const ScanFrames scan = scanFramesOf(report);
    EXPECT_EQ(wantedOf(scan.frames).size(), 4U);
    EXPECT_TRUE(scan.frames[2].fromStage);
    EXPECT_EQ(scan.frames[2].group, 2);
    EXPECT_EQ(scan.frames[2].place, cv::Point2d(1097, 50));
    EXPECT_EQ(scan.frames[3].group, 1);
    EXPECT_EQ(scan.frames[3].place, cv::Point2d(-20, 35.5));
}

TEST(ScanFramesOf, WithNothingPlacedTheStageIsAMapOfItsOwn) {
    ScanReport report;
    report.frames = {placedAt({0, 0}, 3), unplaced(FrameState::refused, cv::Point2d(50, 60)),
                     unplaced(FrameState::waiting, cv::Point2d(70, 60))};
    const ScanFrames scan = scanFramesOf(report);
    EXPECT_EQ(scan.frames[1].group, 4) << "the placed frame's place on the stage is not known";
    EXPECT_EQ(scan.frames[2].group, 4);
    EXPECT_EQ(scan.frames[2].place, cv::Point2d(70, 60));
}

TEST(LeaveOut, ForgetsWhatWasMeasuredAgainstTheFrame) {
    ScanReport report;
    report.frames = {placedAt({0, 0}), placedAt({90, 0})};
    report.frames[1].joins = 1;
    report.frames[1].offset = cv::Point(90, 0);
    ScanFrames scan = scanFramesOf(report);
    leaveOut(0, scan.frames);
    EXPECT_EQ(wantedOf(scan.frames), std::vector<std::size_t>{1});
    EXPECT_FALSE(scan.frames[1].joins);
}

TEST(ExtentsOf, CoverEveryMap) {
    ScanReport report;
    report.frames = {placedAt({-10, 5}), placedAt({90, -3}), placedAt({7, 7}, 2)};
    const auto extents = extentsOf(scanFramesOf(report).frames, {40, 30});
    ASSERT_EQ(extents.size(), 2U);
    EXPECT_EQ(extents[0], cv::Size2d(140, 38));
    EXPECT_EQ(extents[1], cv::Size2d(40, 30));
}

/// The report's frame of a file as it is now.
ReportedFrame frameOfFile(const std::string& name, std::size_t page = 1) {
    ReportedFrame frame = placedAt({0, 0});
    frame.name = name;
    frame.path = fs::absolute(name).u8string();
    frame.page = page;
    const FileFacts facts = *factsOf(fs::u8path(name));
    frame.bytes = facts.bytes;
    frame.modified = timeText(facts.modified);
    return frame;
}

class FrameFiles : public ::testing::Test {
  protected:
    FrameFiles() {
        fs::create_directories("old/frames");
        cv::imwrite("old/frames/a.png", generatePicture({40, 30}, 1));
        cv::imwrite("old/frames/b.png", generatePicture({40, 30}, 2));
        report_.frames = {frameOfFile("old/frames/a.png"), frameOfFile("old/frames/b.png")};
    }

    std::vector<FrameFile> files(const char* report = "old/scan.jsonl") {
        return frameFilesOf(report_, report, {0, 1});
    }

    ScratchDirectory directory_;
    ScanReport report_;
};

TEST_F(FrameFiles, AreWhereTheReportSays) {
    EXPECT_EQ(files()[1].path, fs::absolute("old/frames/b.png"));
    EXPECT_EQ(files()[0].problem, "");
    EXPECT_EQ(files()[1].problem, "");
}

TEST_F(FrameFiles, AreFoundWhereTheFolderWasMovedTo) {
    fs::rename("old", "new");
    const std::vector<FrameFile> found = files("new/scan.jsonl");
    EXPECT_EQ(found[0].problem, "");
    EXPECT_EQ(found[0].path, fs::absolute("new/frames/a.png"));
    EXPECT_EQ(files("scan.jsonl")[0].problem, "the file is missing") << "not beside this report";
}

TEST_F(FrameFiles, ThatHaveChangedAreNoticed) {
    directory_.write("old/frames/a.png", "shorter");
    fs::last_write_time("old/frames/b.png",
                        fs::last_write_time("old/frames/b.png") + std::chrono::seconds(5));
    EXPECT_EQ(files()[0].problem.find("the file has changed since: it has 7 bytes and had "), 0U)
        << files()[0].problem;
    EXPECT_EQ(files()[1].problem.find("the file has changed since: its time is "), 0U) << files()[1].problem;
    fs::remove("old/frames/a.png");
    EXPECT_EQ(files()[0].problem, "the file is missing");
    fs::create_directory("old/frames/a.png");
    EXPECT_EQ(files()[0].problem, "the file is missing") << "a folder is no file";
}

TEST_F(FrameFiles, ThatWereKeptStandForAVideo) {
    for (ReportedFrame& frame : report_.frames) {
        frame.kept = frame.path;
        frame.path = "/missing/film.mp4";
        frame.page = 7;
    }
    EXPECT_EQ(files()[0].path, fs::absolute("old/frames/a.png"));
    EXPECT_EQ(files()[0].page, 1U);
    EXPECT_EQ(files()[0].problem, "");
}

TEST_F(FrameFiles, WithoutThemThereIsNothingToRender) {
    const auto problem = [&] {
        try {
            files();
        } catch (const InputError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    directory_.write("film.mp4", std::string("\0\0\0\x18"
                                             "ftypisom",
                                             12) +
                                     std::string(50, 'x'));
    for (ReportedFrame& frame : report_.frames) frame.path = fs::absolute("film.mp4").u8string();
    EXPECT_NE(problem().find("film.mp4; keep them the next time by brantel-stitch --keep-frames FOLDER"),
              std::string::npos)
        << problem();
    for (ReportedFrame& frame : report_.frames) frame.path = "";
    EXPECT_NE(problem().find("a camera or another program; keep them"), std::string::npos) << problem();
    report_.frames[0] = frameOfFile("old/frames/a.png");
    EXPECT_EQ(files()[1].problem, "it is in no file") << "one of many could not be kept";
}

std::vector<FrameFile> filesNamed(const std::vector<std::string>& names) {
    std::vector<FrameFile> files;
    for (const std::string& name : names) files.push_back({fs::u8path(name), 1, ""});
    return files;
}

bool same(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

class Frames : public ::testing::Test {
  protected:
    ScratchDirectory directory_;
};

TEST_F(Frames, ComeAsTheyAreStored) {
    const cv::Mat colour = generatePicture({40, 30}, 1);
    cv::Mat deep;
    colour.convertTo(deep, CV_16U, 250, 17);
    cv::imwrite("colour.png", colour);
    cv::imwrite("deep.png", deep);
    FileFrames shallow(filesNamed({"colour.png"}), Channels::asStored, std::nullopt);
    ASSERT_TRUE(shallow.settle({0}));
    EXPECT_EQ(shallow.type(), CV_8UC3);
    EXPECT_EQ(shallow.size(), cv::Size(40, 30));
    EXPECT_TRUE(same(shallow.read(0), colour));
    EXPECT_TRUE(same(shallow.grey(0, colour), withChannels(colour, Channels::grey)));
    FileFrames frames(filesNamed({"deep.png"}), Channels::asStored, Range{1000, 50000});
    ASSERT_TRUE(frames.settle({0}));
    EXPECT_EQ(frames.type(), CV_16UC3);
    EXPECT_FALSE(frames.areConverted());
    EXPECT_TRUE(same(frames.read(0), deep));
    const RangeSetting range{RangeSetting::Kind::given, {1000, 50000}};
    EXPECT_TRUE(same(frames.grey(0, deep), withChannels(Tones(range).apply(deep).picture, Channels::grey)));
}

TEST_F(Frames, HaveTheChannelsOfTheLiveRun) {
    const cv::Mat colour = generatePicture({40, 30}, 1);
    cv::Mat grey;
    cv::extractChannel(colour, grey, 1);
    cv::Mat deep;
    colour.convertTo(deep, CV_16U, 250);
    cv::imwrite("colour.png", colour);
    cv::imwrite("grey.png", grey);
    cv::imwrite("deep.tif", deep);
    FileFrames first(filesNamed({"grey.png", "colour.png"}), Channels::asStored, std::nullopt);
    ASSERT_TRUE(first.settle({0, 1}));
    EXPECT_EQ(first.read(1).type(), CV_8UC1) << "as the first one is stored";
    FileFrames asked(filesNamed({"grey.png"}), Channels::colour, std::nullopt);
    ASSERT_TRUE(asked.settle({0}));
    EXPECT_EQ(asked.read(0).type(), CV_8UC3);
    FileFrames deepGrey(filesNamed({"deep.tif"}), Channels::grey, Range{0, 65535});
    ASSERT_TRUE(deepGrey.settle({0}));
    EXPECT_TRUE(same(deepGrey.read(0), withChannels(deep, Channels::grey)));
    const cv::Vec3w pixel = deep.at<cv::Vec3w>(3, 4);
    EXPECT_NEAR(deepGrey.read(0).at<std::uint16_t>(3, 4),
                0.299 * pixel[2] + 0.587 * pixel[1] + 0.114 * pixel[0], 10);
}

TEST_F(Frames, OfFloatingPointBecomeSixteenBitsOverTheRange) {
    cv::Mat samples(30, 40, CV_32F);
    for (std::int32_t k = 0; k < 1200; ++k)
        samples.at<float>(k / 40, k % 40) = static_cast<float>(k) / 1200 - 0.25F;
    samples.at<float>(0, 0) = std::numeric_limits<float>::quiet_NaN();
    cv::imwrite("f.tif", samples);
    FileFrames frames(filesNamed({"f.tif"}), Channels::asStored, Range{0, 0.5});
    ASSERT_TRUE(frames.settle({0}));
    EXPECT_TRUE(frames.areConverted());
    EXPECT_EQ(frames.type(), CV_16UC1);
    const cv::Mat read = frames.read(0);
    EXPECT_EQ(read.at<std::uint16_t>(0, 0), 1) << "no number is the darkest";
    EXPECT_EQ(read.at<std::uint16_t>(7, 0), 1) << "below the range";
    EXPECT_EQ(read.at<std::uint16_t>(29, 39), 65535) << "above it";
    EXPECT_NEAR(read.at<std::uint16_t>(15, 0), 1 + 65534 * 0.5, 1);
    EXPECT_NEAR(frames.grey(0, read).at<std::uint8_t>(15, 0), 128, 1);
}

TEST_F(Frames, ThatCannotBeUsedAreRemembered) {
    cv::imwrite("a.png", generatePicture({40, 30}, 1));
    cv::imwrite("large.png", generatePicture({41, 30}, 1));
    cv::imwrite("deep.png", cv::Mat(30, 40, CV_16UC1, cv::Scalar(7)));
    directory_.write("broken.png", "\x89PNG\r\n\x1a\n and no more");
    FileFrames frames(filesNamed({"missing.png", "a.png", "large.png", "deep.png", "broken.png"}),
                      Channels::asStored, std::nullopt);
    ASSERT_TRUE(frames.settle({0, 1, 2, 3, 4})) << "the first that can be read decides";
    for (const std::size_t frame : {0, 2, 3, 4}) EXPECT_TRUE(frames.read(frame).empty()) << frame;
    EXPECT_FALSE(frames.read(1).empty());
    const auto problems = frames.problems();
    ASSERT_EQ(problems.size(), 4U);
    EXPECT_EQ(problems.at(0), "it cannot be opened: No such file or directory");
    EXPECT_EQ(problems.at(2),
              "it has 41 x 30 pixels (colour, 8-bit), the first frame 40 x 30 (colour, 8-bit)");
    EXPECT_EQ(problems.at(3),
              "it has 40 x 30 pixels (colour, 16-bit), the first frame 40 x 30 (colour, 8-bit)");
    EXPECT_EQ(problems.at(4), "it is a PNG picture that is damaged or cut off");
    FileFrames none(filesNamed({"missing.png"}), Channels::asStored, std::nullopt);
    EXPECT_FALSE(none.settle({0}));
}

TEST_F(Frames, OfAStackComeFromSeveralThreadsAtOnce) {
    constexpr int pages = 24;
    test::TiffPages stack;
    stack.count = pages;
    test::writeTiffFile("stack.tif", {}, stack,
                        [](int page, int row, int column, int) { return 1000 * page + 40 * row + column; });
    std::vector<FrameFile> files;
    for (std::size_t page = 1; page <= pages; ++page) files.push_back({"stack.tif", page, ""});
    FileFrames frames(files, Channels::asStored, Range{0, 65535});
    ASSERT_TRUE(frames.settle({0}));
    const auto readAll = [&](std::size_t from) {
        std::size_t right = 0;
        for (std::size_t k = 0; k < pages; ++k) {
            const std::size_t page = (from + 7 * k) % pages;
            const cv::Mat read = frames.read(page);
            right += !read.empty() && read.at<std::uint16_t>(2, 3) == 1000 * page + 83 ? 1 : 0;
        }
        return right;
    };
    std::vector<std::future<std::size_t>> readers;
    for (std::size_t k = 0; k < 4; ++k) readers.push_back(std::async(std::launch::async, readAll, k));
    for (auto& reader : readers) EXPECT_EQ(reader.get(), pages);
    EXPECT_TRUE(frames.problems().empty());
}

}  // namespace
}  // namespace brantel::programs
