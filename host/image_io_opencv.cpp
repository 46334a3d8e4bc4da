#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "files.h"
#include "image_io.h"
#include "picture_bytes.h"

namespace host {

namespace fs = std::filesystem;

namespace {

int decodingFlags(Channels channels) {
    switch (channels) {
        case Channels::grey:
            return cv::IMREAD_GRAYSCALE;
        case Channels::colour:
            return cv::IMREAD_COLOR;
        case Channels::asStored:
            break;
    }
    return cv::IMREAD_ANYCOLOR;
}

}  // namespace

const char* const outputNames = ".png, .tif or .jpg";

bool isPictureName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".jpg", ".jpeg", ".jpe", ".tif", ".tiff", ".bmp", ".dib",
                                       ".pgm", ".ppm", ".pnm", ".webp", ".jp2"});
}

bool isOutputName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".tif", ".tiff", ".jpg", ".jpeg"});
}

cv::Mat decodePicture(const std::vector<std::uint8_t>& bytes, Channels channels) {
    if (bytes.empty() || breaksOff(bytes)) return {};
    try {
        const cv::Mat picture = cv::imdecode(bytes, decodingFlags(channels));
        return picture.type() == CV_8UC1 || picture.type() == CV_8UC3 ? picture : cv::Mat();
    } catch (const cv::Exception&) {
        return {};
    }
}

cv::Mat readPicture(const fs::path& path, Channels channels) {
    return decodePicture(readFile(path), channels);
}

void writePicture(const fs::path& path, const cv::Mat& picture) {
    // Encoded in memory, since the file writers of the codecs do not notice a full disk.
    std::vector<std::uint8_t> bytes;
    bool encoded = false;
    try {
        encoded = cv::imencode(extensionOf(path), picture, bytes);
    } catch (const cv::Exception&) {
        encoded = false;
    }
    if (!encoded) throw tooLargeFor(path, picture.size());
    writeFile(path, bytes.data(), bytes.size());
}

cv::Mat reducedColour(const cv::Mat& picture, cv::Size size) {
    cv::Mat reduced;
    cv::resize(picture, reduced, size, 0, 0, cv::INTER_AREA);
    if (reduced.channels() == 1) cv::cvtColor(reduced, reduced, cv::COLOR_GRAY2BGR);
    return reduced;
}

void drawLine(cv::Mat& picture, cv::Point from, cv::Point to, const cv::Scalar& colour,
              std::int32_t thickness) {
    cv::line(picture, from, to, colour, thickness, cv::LINE_AA);
}

void drawDisc(cv::Mat& picture, cv::Point centre, std::int32_t radius, const cv::Scalar& colour) {
    cv::circle(picture, centre, radius, colour, cv::FILLED, cv::LINE_AA);
}

}  // namespace host
