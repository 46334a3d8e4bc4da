#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "pictures/image_io.h"
#include "pictures/kinds.h"
#include "pictures/picture_bytes.h"
#include "pictures/stored_file.h"
#include "pictures/tiff_writer.h"
#include "system/files.h"
#include "system/out_of_memory.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr std::int32_t longestJpegSide = 65500;
constexpr std::int32_t longestPngSide = 1000000;
constexpr int quickly = 1;  // of 9

int decodingFlags(Channels channels) {
    switch (channels) {
        case Channels::grey:
            return cv::IMREAD_GRAYSCALE | cv::IMREAD_ANYDEPTH;
        case Channels::colour:
            return cv::IMREAD_COLOR | cv::IMREAD_ANYDEPTH;
        case Channels::asStored:
            break;
    }
    return cv::IMREAD_ANYCOLOR | cv::IMREAD_ANYDEPTH;
}

/// Only kinds that the programs are for reach a decoder: that of DICOM ends the process when a file is damaged, and it is asked
/// before those of JPEG 2000 and PAM.
bool mayBeDecoded(const std::vector<std::uint8_t>& bytes) {
    const std::string kind = kindOf(bytes);
    if (!isReadableKind(kind)) return false;
    const bool decodedLate =
        kind.find("JPEG 2000") != std::string::npos || kind.find("PNM") != std::string::npos;
    return !(decodedLate && hasSignOfDicom(bytes));
}

/// Encoded in memory, since the file writers of the codecs do not notice a full disk.
void encodeAndWrite(const fs::path& path, const cv::Mat& picture, const std::vector<int>& parameters) {
    std::vector<std::uint8_t> bytes;
    bool encoded = false;
    try {
        encoded = cv::imencode(extensionOf(path), picture, bytes, parameters);
    } catch (const cv::Exception& error) {
        if (isOutOfMemory(error)) throw std::bad_alloc();
    }
    if (!encoded)
        throw OutputError("cannot write " + path.u8string() + ": the picture of " + sizeText(picture.size()) +
                          " pixels cannot be made into this format; choose another of " + outputNames);
    writeFile(path, bytes.data(), bytes.size());
}

}  // namespace

const char* const readableKinds = "PNG, JPEG, TIFF, BMP, PNM, PFM, WebP and JPEG 2000";
const char* const outputNames = ".png, .tif or .jpg";

bool isPictureName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".jpg", ".jpeg", ".jpe", ".tif", ".tiff", ".btf", ".bmp",
                                       ".dib", ".pgm", ".ppm", ".pnm", ".pbm", ".pfm", ".webp", ".jp2"});
}

bool isOutputName(const fs::path& path) {
    return isOneOf(extensionOf(path), {".png", ".tif", ".tiff", ".jpg", ".jpeg"});
}

cv::Mat decodePicture(const std::vector<std::uint8_t>& bytes, Channels channels) {
    if (!mayBeDecoded(bytes) || breaksOff(bytes)) return {};
    try {
        const cv::Mat picture = cv::imdecode(bytes, decodingFlags(channels));
        return picture.channels() == 1 || picture.channels() == 3 ? picture : cv::Mat();
    } catch (const cv::Exception& error) {
        if (isOutOfMemory(error)) throw std::bad_alloc();
        return {};
    }
}

std::optional<std::string> sizeProblem(const fs::path& path, cv::Size size) {
    const std::string extension = extensionOf(path);
    const std::int32_t side = std::max(size.width, size.height);
    if (isOneOf(extension, {".jpg", ".jpeg"}) && side > longestJpegSide)
        return "JPEG holds at most " + std::to_string(longestJpegSide) + " pixels on a side";
    if (extension == ".png" && side > longestPngSide)
        return "PNG is written with at most " + std::to_string(longestPngSide) + " pixels on a side";
    return std::nullopt;
}

void writePicture(const fs::path& path, const cv::Mat& picture) {
    const bool tiff = isOneOf(extensionOf(path), {".tif", ".tiff"});
    constexpr std::size_t mostCompressed = std::size_t{1} << 31;  // beyond it a TIFF needs wider numbers
    if (tiff && picture.total() * picture.elemSize() >= mostCompressed)
        writeTiff(path, picture);
    else
        encodeAndWrite(path, picture, {});
}

void writeQuickly(const fs::path& path, const cv::Mat& picture) {
    encodeAndWrite(path, picture, {cv::IMWRITE_PNG_COMPRESSION, quickly});
}

cv::Mat reducedColour(const cv::Mat& picture, cv::Size size) {
    cv::Mat reduced;
    cv::resize(picture, reduced, size, 0, 0, cv::INTER_AREA);
    if (reduced.channels() == 1) cv::cvtColor(reduced, reduced, cv::COLOR_GRAY2BGR);
    return reduced;
}

void drawLine(cv::Mat& picture, cv::Point from, cv::Point to, const cv::Scalar& colour,
              std::int32_t thickness) {
    const bool along = from.x == to.x || from.y == to.y;  // smoothing would only make it wider
    cv::line(picture, from, to, colour, thickness, along ? cv::LINE_8 : cv::LINE_AA);
}

void drawDisc(cv::Mat& picture, cv::Point centre, std::int32_t radius, const cv::Scalar& colour) {
    cv::circle(picture, centre, radius, colour, cv::FILLED, cv::LINE_AA);
}

}  // namespace brantel::programs
