#include "pictures/range.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>

namespace brantel::programs {
namespace {

RangeSetting given(double low, double high) {
    return {RangeSetting::Kind::given, {low, high}};
}

/// 12-bit values in 16-bit samples: a slope from 300 to 3900.
cv::Mat slope() {
    cv::Mat picture(100, 1000, CV_16UC1);
    for (int r = 0; r < picture.rows; ++r)
        for (int c = 0; c < picture.cols; ++c)
            picture.at<std::uint16_t>(r, c) = static_cast<std::uint16_t>(300 + c * 3600 / 999);
    return picture;
}

TEST(ParseRange, KnowsTheThreeWays) {
    EXPECT_EQ(parseRange("auto")->kind, RangeSetting::Kind::automatic);
    EXPECT_EQ(parseRange("full")->kind, RangeSetting::Kind::full);
    const auto range = parseRange("-1.5,4095");
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->range.low, -1.5);
    EXPECT_EQ(range->range.high, 4095);
    for (const char* text : {"", "wide", "12", "5,5", "9,3", "1,2,3", "1,", ",1", "0,nan", "0,inf"})
        EXPECT_FALSE(parseRange(text).has_value()) << text;
}

TEST(Tones, AGivenRangeMapsItsEndsTo1And255) {
    const Tones tones(given(100, 600));
    const cv::Mat samples = (cv::Mat_<std::uint16_t>(1, 6) << 0, 100, 101, 350, 600, 60000);
    const Toned toned = tones.apply(samples);
    const cv::Mat expected = (cv::Mat_<std::uint8_t>(1, 6) << 1, 1, 2, 128, 255, 255);
    EXPECT_EQ(cv::norm(toned.picture, expected, cv::NORM_INF), 0) << toned.picture;
    ASSERT_TRUE(toned.range.has_value());
    EXPECT_EQ(toned.range->high, 600);
}

TEST(Tones, EightBitsStayAsTheyAreUnlessARangeIsGiven) {
    cv::Mat samples(20, 30, CV_8UC3);
    cv::randu(samples, 0, 256);
    for (const auto kind : {RangeSetting::Kind::automatic, RangeSetting::Kind::full}) {
        const Tones tones({kind, {}});
        EXPECT_FALSE(tones.wantsExamples(samples));
        const Toned toned = tones.apply(samples);
        EXPECT_EQ(cv::norm(toned.picture, samples, cv::NORM_INF), 0);
        EXPECT_FALSE(toned.range.has_value());
    }
    EXPECT_TRUE(Tones(given(10, 20)).apply(samples).range.has_value());
}

TEST(Tones, TheAutomaticRangeLeavesAThousandthOutsideOnEachSide) {
    Tones tones(RangeSetting{});
    ASSERT_TRUE(tones.wantsExamples(slope()));
    tones.learnFrom({slope()});
    EXPECT_FALSE(tones.wantsExamples(slope()));
    const Toned toned = tones.apply(slope());
    EXPECT_NEAR(toned.range->low, 304, 4);
    EXPECT_NEAR(toned.range->high, 3896, 4);
    EXPECT_EQ(toned.picture.at<std::uint8_t>(50, 0), 1);
    EXPECT_EQ(toned.picture.at<std::uint8_t>(50, 999), 255);
    EXPECT_NEAR(toned.picture.at<std::uint8_t>(50, 500), 128, 2);
}

TEST(Tones, TheRangeIsKeptForLaterPictures) {
    Tones tones(RangeSetting{});
    tones.learnFrom({slope()});
    const Toned brighter = tones.apply(slope() * 2);
    EXPECT_NEAR(brighter.range->high, 3896, 4);
    ASSERT_TRUE(brighter.beyond.has_value());
    EXPECT_EQ(*brighter.beyond, 7800);
    EXPECT_FALSE(tones.apply(slope()).beyond.has_value());
}

TEST(Tones, FullIsAllThatTheDepthHolds) {
    const Tones tones({RangeSetting::Kind::full, {}});
    EXPECT_EQ(tones.apply(cv::Mat(1, 1, CV_16UC1, cv::Scalar(65535))).picture.at<std::uint8_t>(0), 255);
    EXPECT_EQ(tones.apply(cv::Mat(1, 1, CV_16UC1, cv::Scalar(4095))).picture.at<std::uint8_t>(0), 17);
    EXPECT_EQ(tones.apply(cv::Mat(1, 1, CV_16SC1, cv::Scalar(0))).picture.at<std::uint8_t>(0), 128);
    EXPECT_EQ(tones.apply(cv::Mat(1, 1, CV_32FC1, cv::Scalar(0.5))).picture.at<std::uint8_t>(0), 128);
    EXPECT_EQ(tones.apply(cv::Mat(1, 1, CV_64FC1, cv::Scalar(1))).picture.at<std::uint8_t>(0), 255);
}

TEST(Tones, WhatIsNoNumberIsDarkAndCountsForNothing) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    cv::Mat samples(10, 100, CV_32FC1, cv::Scalar(nan));
    for (int c = 0; c < 90; ++c) samples.col(c).setTo(c);
    samples.col(95).setTo(infinite);
    Tones tones(RangeSetting{});
    tones.learnFrom({samples});
    const Toned toned = tones.apply(samples);
    EXPECT_EQ(toned.range->low, 0);
    EXPECT_EQ(toned.range->high, 89);
    EXPECT_EQ(toned.picture.at<std::uint8_t>(0, 99), 1);
    EXPECT_EQ(toned.picture.at<std::uint8_t>(0, 95), 255);
}

TEST(Tones, APictureOfOneValueHasARangeAllTheSame) {
    Tones tones(RangeSetting{});
    const cv::Mat flat(10, 10, CV_16UC3, cv::Scalar(700, 700, 700));
    tones.learnFrom({flat});
    EXPECT_EQ(cv::countNonZero(tones.apply(flat).picture.reshape(1) != 1), 0);
    Tones none(RangeSetting{});
    none.learnFrom({cv::Mat(2, 2, CV_32FC1, cv::Scalar(std::nan("")))});
    EXPECT_EQ(none.apply(flat).picture.type(), CV_8UC3);
}

}  // namespace
}  // namespace brantel::programs
