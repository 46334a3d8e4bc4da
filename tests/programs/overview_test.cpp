#include "stitch/overview.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

namespace brantel::programs {
namespace {

const cv::Mat& widePicture() {
    static const cv::Mat picture(500, 5000, CV_8UC1, cv::Scalar(100));
    return picture;
}

FinishedMosaic wideMosaic() {
    FinishedMosaic mosaic;
    mosaic.frameSize = {2000, 500};
    mosaic.path = {{0, 0}, {3000, 0}};
    return mosaic;
}

TEST(Overview, IsInColourAndAtMost2000PixelsLong) {
    const cv::Mat overview = overviewOf(widePicture(), wideMosaic());
    EXPECT_EQ(overview.size(), cv::Size(2000, 200));
    EXPECT_EQ(overview.type(), CV_8UC3);
}

TEST(Overview, ShowsOutlinesAndPathAndLeavesTheRest) {
    const cv::Mat overview = overviewOf(widePicture(), wideMosaic());
    const cv::Vec3b ground(100, 100, 100);
    EXPECT_NE(overview.at<cv::Vec3b>(50, 0), ground) << "left edge of the first frame";
    EXPECT_NE(overview.at<cv::Vec3b>(50, 1200), ground) << "left edge of the second frame";
    EXPECT_NE(overview.at<cv::Vec3b>(100, 400), ground) << "centre of the first frame";
    EXPECT_NE(overview.at<cv::Vec3b>(100, 1000), ground) << "path";
    EXPECT_EQ(overview.at<cv::Vec3b>(50, 1000), ground);
}

TEST(Overview, KeepsTheSizeOfASmallMosaic) {
    FinishedMosaic mosaic = wideMosaic();
    const cv::Mat picture(30, 20, CV_8UC3, cv::Scalar(1, 2, 3));
    mosaic.frameSize = {20, 20};
    mosaic.path = {{0, 0}, {0, 10}};
    EXPECT_EQ(overviewOf(picture, mosaic).size(), cv::Size(20, 30));
}

/// How much of the overview is not the grey of the ground.
double coveredPart(const cv::Mat& picture, const FinishedMosaic& mosaic) {
    const cv::Mat overview = overviewOf(picture, mosaic);
    cv::Mat other;
    cv::inRange(overview, cv::Scalar(100, 100, 100), cv::Scalar(100, 100, 100), other);
    return 1 - static_cast<double>(cv::countNonZero(other)) / static_cast<double>(other.total());
}

TEST(Overview, OfThousandsOfFramesStillShowsThePicture) {
    FinishedMosaic mosaic;
    const cv::Mat picture(12120, 15150, CV_8UC1, cv::Scalar(100));
    mosaic.frameSize = {450, 360};
    for (int k = 0; k < 2000; ++k) {
        const int row = k / 50;
        mosaic.path.emplace_back((row % 2 == 0 ? k % 50 : 49 - k % 50) * 300, row * 300);
    }
    EXPECT_LT(coveredPart(picture, mosaic), 0.25);
    EXPECT_GT(coveredPart(picture, mosaic), 0.02) << "and the frames";
}

}  // namespace
}  // namespace brantel::programs
