#include "picture/bands.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <stdexcept>

#include "placed_scan.h"

namespace brantel::test {
namespace {

using render::Blend;
using render::PictureBands;

constexpr std::int64_t plenty = std::int64_t{1} << 30;

/// The whole picture in bands of this many rows, with bytes between the rows that nobody may touch.
cv::Mat pictureInBands(PlacedScan& scan, Blend blend, std::int32_t bandRows, std::int64_t memory = plenty) {
    constexpr std::uint8_t guard = 0xA5;
    const cv::Size size = scan.layout.size;
    const cv::Mat whole(size.height, size.width + 2, scan.layout.type, cv::Scalar::all(0));
    std::memset(whole.data, guard, whole.total() * whole.elemSize());
    const render::PictureParts parts = scan.parts(blend);
    PictureBands bands(parts, memory);
    for (std::int32_t row = 0; row < size.height; row += bandRows)
        bands.next(std::min(bandRows, size.height - row), const_cast<std::uint8_t*>(whole.ptr(row)),
                   static_cast<std::int64_t>(whole.step));
    for (std::int32_t row = 0; row < size.height; ++row)
        for (std::size_t i = 0; i < 2 * whole.elemSize(); ++i)
            EXPECT_EQ(whole.ptr(row)[static_cast<std::size_t>(size.width) * whole.elemSize() + i], guard);
    return whole.colRange(0, size.width).clone();
}

bool sameBytes(const cv::Mat& one, const cv::Mat& other) {
    return one.size() == other.size() && one.type() == other.type() &&
           std::memcmp(one.data, other.data, one.total() * one.elemSize()) == 0;
}

class PictureBandsOf : public testing::TestWithParam<std::int32_t> {};

TEST_P(PictureBandsOf, AgreeWithTheDefinition) {
    ScanSettings settings;
    settings.type = GetParam();
    for (const bool gains : {false, true})
        for (const std::int32_t lightChannels : {0, 1, CV_MAT_CN(settings.type)})
            for (const Blend blend : {Blend::feather, Blend::none})
                for (const std::int32_t step : {6, 20, 45, 13}) {  // heavy overlap, some, gaps
                    settings.gains = gains;
                    settings.lightChannels = lightChannels;
                    settings.lightStep = settings.seed % 3 == 0 ? 1 : settings.seed % 3 == 1 ? 4 : 9;
                    settings.step = {step, step - 1};
                    ++settings.seed;
                    PlacedScan scan(settings);
                    EXPECT_TRUE(sameBytes(pictureInBands(scan, blend, 7), pictureByDefinition(scan, blend)))
                        << "gains " << gains << " light " << lightChannels << " step " << step;
                }
}

TEST_P(PictureBandsOf, AreTheSameForEveryHeightAndInHalves) {
    ScanSettings settings;
    settings.type = GetParam();
    settings.frameSize = {31, 171};  // several blocks of rows, the last one partly used
    settings.step = {22, 120};
    settings.gains = true;
    PlacedScan scan(settings);
    const cv::Mat expected = pictureByDefinition(scan, Blend::feather);
    for (const std::int32_t rows : {1, 2, 63, 64, 65, 1000}) {
        EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, rows), expected)) << rows;
        EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, rows, 0), expected)) << rows;
    }
}

INSTANTIATE_TEST_SUITE_P(Types, PictureBandsOf, testing::Values(CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3));

TEST(PictureBands, OfOneFrameAreItsBytes) {
    for (const cv::Size size : {cv::Size(37, 29), cv::Size(1, 1), cv::Size(1, 300), cv::Size(300, 1)}) {
        ScanSettings settings;
        settings.frameSize = size;
        settings.columns = settings.rows = 1;
        settings.type = CV_8UC1;
        PlacedScan scan(settings);
        for (const std::int64_t memory : {std::int64_t{0}, plenty})
            EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, 5, memory), scan.frames.frames[0]));
    }
}

TEST(PictureBands, KeepWhatOneFrameShowsWithoutRounding) {
    ScanSettings settings;
    settings.type = CV_16UC1;
    settings.columns = 2;
    settings.rows = 1;
    settings.jitter = 0;
    PlacedScan scan(settings);
    const cv::Mat picture = pictureInBands(scan, Blend::feather, 3);
    const cv::Mat& left = scan.frames.frames[scan.layout.frames[0].frame];
    EXPECT_TRUE(sameBytes(picture.colRange(0, 25).clone(), left.colRange(0, 25).clone()));
}

TEST(PictureBands, LeaveAnUnreadableFramesPlaceToTheOthers) {
    for (const std::int64_t memory : {std::int64_t{0}, plenty}) {
        PlacedScan scan({});
        scan.frames.frames[4].release();
        scan.frames.frames[0].release();
        const cv::Mat expected = pictureByDefinition(scan, Blend::feather);
        EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, 4, memory), expected));
        scan.frames.frames[4] = cv::Mat::ones(12, 37, CV_8UC3);
        EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, 4, memory), expected)) << "wrong size";
        scan.frames.frames[4] = cv::Mat::ones(29, 37, CV_16UC3);
        EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::feather, 4, memory), expected)) << "wrong type";
    }
}

TEST(PictureBands, OfNothingReadableAreBlack) {
    PlacedScan scan({});
    for (cv::Mat& frame : scan.frames.frames) frame.release();
    EXPECT_TRUE(sameBytes(pictureInBands(scan, Blend::none, 4), cv::Mat::zeros(scan.layout.size, CV_8UC3)));
}

TEST(PictureBands, SaturateBrightSamples) {
    ScanSettings settings;
    settings.columns = settings.rows = 1;
    PlacedScan scan(settings);
    scan.layout.frames[0].gain = 1000;
    scan.frames.frames[0] = cv::Mat(settings.frameSize, CV_8UC3, cv::Scalar::all(1));
    const cv::Mat picture = pictureInBands(scan, Blend::feather, 4);
    EXPECT_TRUE(sameBytes(picture, cv::Mat(settings.frameSize, CV_8UC3, cv::Scalar::all(255))));
}

TEST(PictureBands, ThrowWhatAReaderThrows) {
    for (const std::int64_t memory : {std::int64_t{0}, plenty}) {
        PlacedScan scan({});
        scan.frames.before = [](std::size_t frame) {
            if (frame == 2) throw std::bad_alloc();
        };
        EXPECT_THROW(pictureInBands(scan, Blend::feather, 4, memory), std::bad_alloc);
    }
}

TEST(PictureBands, EndWhileFramesAreBeingRead) {
    PlacedScan scan({});
    std::vector<std::uint8_t> row(static_cast<std::size_t>(scan.layout.size.width) * 3);
    const render::PictureParts parts = scan.parts();
    {
        PictureBands bands(parts, plenty);
        bands.next(1, row.data(), static_cast<std::int64_t>(row.size()));
    }
    { const PictureBands unused(parts, plenty); }
    PictureBands bands(parts, plenty);
    EXPECT_THROW(bands.next(scan.layout.size.height + 1, row.data(), 0), std::out_of_range);
}

TEST(PictureBands, LeaveOutAHalfThatCannotBeReadAgain) {
    ScanSettings settings;
    settings.columns = settings.rows = 1;
    PlacedScan scan(settings);
    const cv::Mat whole = pictureInBands(scan, Blend::feather, 4);
    std::int32_t readings = 0;  // without memory to read ahead, one after the other
    scan.frames.before = [&](std::size_t) {
        if (++readings == 2) scan.frames.frames[0].release();
    };
    const cv::Mat picture = pictureInBands(scan, Blend::feather, 4, 0);
    const std::int32_t half = settings.frameSize.height / 2;
    EXPECT_TRUE(sameBytes(picture.rowRange(0, half).clone(), whole.rowRange(0, half).clone()));
    EXPECT_EQ(cv::countNonZero(picture.rowRange(half, picture.rows).clone().reshape(1)), 0);
}

TEST(PictureBands, RefuseFramesBeyondTheirPicture) {
    PlacedScan scan({});
    const render::PictureParts parts = scan.parts();
    const cv::Point before = scan.layout.frames[3].at;
    const cv::Size size = scan.layout.size;
    for (const cv::Point at : {cv::Point(-1, 0), {0, -1}, {size.width - 36, 0}, {0, size.height - 28}}) {
        scan.layout.frames[3].at = at;
        EXPECT_THROW(PictureBands(parts, plenty), std::invalid_argument);
    }
    scan.layout.frames[3].at = before;
    for (const std::int32_t type : {CV_8UC2, CV_32FC1, CV_16SC3}) {
        scan.layout.type = type;
        EXPECT_THROW(PictureBands(parts, plenty), std::invalid_argument);
    }
}

TEST(PictureBands, RefuseALightThatDoesNotFit) {
    PlacedScan scan({});
    const render::PictureParts parts = scan.parts();
    for (const cv::Mat& factors :
         {cv::Mat(29, 36, CV_32FC3), cv::Mat(29, 37, CV_32FC2), cv::Mat(29, 37, CV_8UC3)}) {
        scan.light.factors = factors;
        EXPECT_THROW(PictureBands(parts, plenty), std::invalid_argument);
    }
}

}  // namespace
}  // namespace brantel::test
