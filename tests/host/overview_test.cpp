#include "overview.h"

#include <gtest/gtest.h>

namespace host {
namespace {

FinishedMosaic wideMosaic() {
    FinishedMosaic mosaic;
    mosaic.picture = cv::Mat(500, 5000, CV_8UC1, cv::Scalar(100));
    mosaic.frameSize = {2000, 500};
    mosaic.path = {{0, 0}, {3000, 0}};
    return mosaic;
}

TEST(Overview, IsInColourAndAtMost2000PixelsLong) {
    const cv::Mat overview = overviewOf(wideMosaic());
    EXPECT_EQ(overview.size(), cv::Size(2000, 200));
    EXPECT_EQ(overview.type(), CV_8UC3);
}

TEST(Overview, ShowsOutlinesAndPathAndLeavesTheRest) {
    const cv::Mat overview = overviewOf(wideMosaic());
    const cv::Vec3b ground(100, 100, 100);
    EXPECT_NE(overview.at<cv::Vec3b>(50, 0), ground) << "left edge of the first frame";
    EXPECT_NE(overview.at<cv::Vec3b>(50, 1200), ground) << "left edge of the second frame";
    EXPECT_NE(overview.at<cv::Vec3b>(100, 400), ground) << "centre of the first frame";
    EXPECT_NE(overview.at<cv::Vec3b>(100, 1000), ground) << "path";
    EXPECT_EQ(overview.at<cv::Vec3b>(50, 1000), ground);
}

TEST(Overview, KeepsTheSizeOfASmallMosaic) {
    FinishedMosaic mosaic = wideMosaic();
    mosaic.picture = cv::Mat(30, 20, CV_8UC3, cv::Scalar(1, 2, 3));
    mosaic.frameSize = {20, 20};
    mosaic.path = {{0, 0}, {0, 10}};
    EXPECT_EQ(overviewOf(mosaic).size(), cv::Size(20, 30));
}

}  // namespace
}  // namespace host
