#include "pictures/kinds.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "system/platform.h"

namespace brantel::programs {

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Sign {
    std::size_t at;
    std::string bytes;
    const char* kind;
};

using namespace std::string_literals;

const Sign& dicom() {
    static const Sign sign{128, "DICM", "a DICOM file"};
    return sign;
}

/// The longer signs of a beginning come first.
const std::vector<Sign>& signs() {
    static const std::vector<Sign> all{
        {0, "\x89PNG\r\n", "a PNG picture"},
        {0, "\xFF\xD8\xFF", "a JPEG picture"},
        {0, "II*\0"s, "a TIFF picture"},
        {0, "MM\0*"s, "a TIFF picture"},
        {0, "II+\0"s, "a TIFF picture of the large kind (BigTIFF)"},
        {0, "MM\0+"s, "a TIFF picture of the large kind (BigTIFF)"},
        {0, "BM", "a BMP picture"},
        {8, "WEBP", "a WebP picture"},
        {4, "jP  ", "a JPEG 2000 picture"},
        {0, "\xFF\x4F\xFF\x51", "a JPEG 2000 picture"},
        {0, "GIF8", "a GIF picture"},
        {4, "ftypheic", "a HEIC picture"},
        {4, "ftypmif1", "a HEIF picture"},
        {4, "ftypavif", "an AVIF picture"},
        {0, "\x76\x2F\x31\x01", "an OpenEXR picture"},
        {0, "8BPS", "a Photoshop file"},
        {0, "SIMPLE  =", "a FITS file"},
        {0, "#?RADIANCE", "a Radiance picture"},
        dicom(),
        {0, "ZISRAWFILE", "a Zeiss CZI file"},
        {0, "\xDA\xCE\xBE\x0A", "a Nikon ND2 file"},
        {0, "\x70\0\0\0"s, "a Leica LIF file"},
        {0, "\xD0\xCF\x11\xE0", "an OLE file, as OIB and ZVI are"},
        {0, "\x89HDF", "an HDF5 file"},
        {0, "%PDF", "a PDF document"},
        {0, "PK\x03\x04", "a ZIP archive"},
        {0, "\x1F\x8B", "a gzip archive"},
        {8, "AVI ", "an AVI video"},
        {4, "ftyp", "an MP4 or QuickTime video"},
        {0, "\x1A\x45\xDF\xA3", "a Matroska or WebM video"},
        {0, "<!DOCTYPE", "an HTML or XML document"},
        {0, "<html", "an HTML document"},
        {0, "<?xml", "an XML document"},
    };
    return all;
}

bool carries(const Bytes& bytes, const Sign& sign) {
    return bytes.size() >= sign.at + sign.bytes.size() &&
           std::equal(sign.bytes.begin(), sign.bytes.end(),
                      bytes.begin() + static_cast<std::ptrdiff_t>(sign.at),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

/// P1 to P7, PF and Pf with white space behind.
bool isNetpbm(const Bytes& bytes) {
    return bytes.size() > 2 && bytes[0] == 'P' &&
           ((bytes[1] >= '1' && bytes[1] <= '7') || bytes[1] == 'F' || bytes[1] == 'f') &&
           std::isspace(bytes[2]) != 0;
}

bool isText(const Bytes& bytes) {
    return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) {
        return byte >= 32 || byte == '\n' || byte == '\r' || byte == '\t';
    });
}

}  // namespace

bool hasSignOfDicom(const Bytes& firstBytes) {
    return carries(firstBytes, dicom());
}

std::string kindOf(const Bytes& firstBytes) {
    for (const Sign& sign : signs())
        if (carries(firstBytes, sign)) return sign.kind;
    if (isNetpbm(firstBytes)) return "a PNM picture";
    return isText(firstBytes) ? "a text file" : "";
}

std::string kindOf(const std::filesystem::path& path) {
    std::FILE* file = openFile(path, "rb");
    if (file == nullptr) return "";
    Bytes bytes(256);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (bytes.empty()) return failed ? "" : "empty";
    return kindOf(bytes);
}

}  // namespace brantel::programs
