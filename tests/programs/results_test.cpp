#include "stitch/results.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <opencv2/core.hpp>

#include "pictures/image_io.h"
#include "support/scratch_directory.h"

namespace brantel::programs {
namespace {

namespace fs = std::filesystem;
using brantel::test::ScratchDirectory;

/// A picture of which no more than half can be had at once.
class ShortOfMemory : public ::testing::Test {
  protected:
    ShortOfMemory() : picture_(1200, 1500, CV_8UC3) {
        for (std::int32_t r = 0; r < picture_.rows; ++r)
            for (std::int32_t c = 0; c < picture_.cols; ++c)
                picture_.at<cv::Vec3b>(r, c) = cv::Vec3b(static_cast<uchar>(r), static_cast<uchar>(c),
                                                         static_cast<uchar>(r / 8 + c / 8));
        mosaic_.size = picture_.size();
        mosaic_.frameSize = {640, 480};
        mosaic_.channels = 3;
        mosaic_.path = {{0, 0}, {860, 720}};
        mosaic_.read = [this](const cv::Rect& part) {
            if (part.area() > picture_.size().area() / 2) throw std::bad_alloc();
            return picture_(part).clone();
        };
    }

    std::optional<SavedMosaic> save(const std::string& output, bool failed) {
        options_.output = output;
        Progress progress(stderr, false);
        Messages messages(true, progress);
        Results results(options_, {}, messages);
        std::optional<SavedMosaic> saved = results.save(mosaic_);
        EXPECT_EQ(results.failed(), failed);
        return saved;
    }

    void expectPicture(const std::string& file) {
        const cv::Mat read = readPicture(file, Channels::asStored);
        ASSERT_EQ(read.size(), picture_.size());
        EXPECT_EQ(cv::norm(read, picture_, cv::NORM_INF), 0);
    }

    ScratchDirectory directory_;
    cv::Mat picture_;
    FinishedMosaic mosaic_;
    Options options_;
};

TEST_F(ShortOfMemory, ATiffIsWrittenInBands) {
    const auto saved = save("m.tif", false);
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->file, "m.tif");
    EXPECT_EQ(saved->size, picture_.size());
    EXPECT_EQ(saved->frames, 2U);
    expectPicture("m.tif");
}

TEST_F(ShortOfMemory, WhatNeedsTheWholePictureIsSavedAsTiff) {
    const auto saved = save("m.png", true);
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->file, "m.tif");
    expectPicture("m.tif");
    EXPECT_FALSE(fs::exists("m.png"));
}

TEST_F(ShortOfMemory, ThereIsNoOverview) {
    options_.overview = "o.png";
    EXPECT_TRUE(save("m.tif", true));
    EXPECT_FALSE(fs::exists("o.png"));
}

TEST_F(ShortOfMemory, MosaicsAreNamedInTheOrderOfTheirSaving) {
    options_.output = "m.tif";
    Progress progress(stderr, false);
    Messages messages(true, progress);
    Results results(options_, {}, messages);
    mosaic_.number = 3;  // others have been joined
    EXPECT_EQ(results.save(mosaic_)->file, "m.tif");
    mosaic_.number = 5;
    EXPECT_EQ(results.save(mosaic_)->file, "m-2.tif");
}

}  // namespace
}  // namespace brantel::programs
