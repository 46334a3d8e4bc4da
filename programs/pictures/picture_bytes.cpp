#include "pictures/picture_bytes.h"

#include <algorithm>
#include <cctype>

namespace brantel::programs {

std::string extensionOf(const std::filesystem::path& path) {
    std::string extension = path.extension().u8string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool isOneOf(const std::string& extension, std::initializer_list<const char*> names) {
    return std::find(names.begin(), names.end(), extension) != names.end();
}

namespace {

using Bytes = std::vector<std::uint8_t>;

bool startsWith(const Bytes& bytes, std::initializer_list<std::uint8_t> beginning) {
    return bytes.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), bytes.begin());
}

bool holds(const Bytes& bytes, std::size_t from, std::initializer_list<std::uint8_t> part) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, bytes.size()));
    return std::search(begin, bytes.end(), part.begin(), part.end()) != bytes.end();
}

/// A JPEG that breaks off decodes all the same, grey from there on; what tells is that no end marker follows
/// the beginning of the picture data. Segments before that (with previews in them) are stepped over.
bool jpegBreaksOff(const Bytes& bytes) {
    const std::size_t size = bytes.size();
    std::size_t at = 2;
    while (at + 4 <= size && bytes[at] == 0xFF && bytes[at + 1] != 0xDA)
        at += 2 + (std::size_t{bytes[at + 2]} << 8 | bytes[at + 3]);
    return !holds(bytes, at, {0xFF, 0xD9});
}

/// The number at this place of a PNM header, behind spaces and comments; 0 when there is none. Moves to its end.
std::uint64_t headerNumber(const Bytes& bytes, std::size_t& at) {
    constexpr std::uint64_t most = 1U << 30;
    while (at < bytes.size() && (std::isspace(bytes[at]) != 0 || bytes[at] == '#'))
        if (bytes[at++] == '#')
            while (at < bytes.size() && bytes[at] != '\n') ++at;
    std::uint64_t number = 0;
    for (; at < bytes.size() && std::isdigit(bytes[at]) != 0; ++at)
        number = std::min(most, 10 * number + (bytes[at] - std::uint64_t{'0'}));
    return number;
}

/// Of grey and coloured PNM in bytes (P5, P6), which not every decoder notices. After the header comes one space.
bool pnmBreaksOff(const Bytes& bytes) {
    std::size_t at = 2;
    const std::uint64_t width = headerNumber(bytes, at);
    const std::uint64_t height = headerNumber(bytes, at);
    const std::uint64_t white = headerNumber(bytes, at);
    const std::uint64_t pixelBytes = (bytes[1] == '6' ? 3U : 1U) * (white > 255 ? 2U : 1U);
    const std::uint64_t left = at < bytes.size() ? bytes.size() - at - 1 : 0;
    return height > 0 && left / height < width * pixelBytes;
}

}  // namespace

bool breaksOff(const Bytes& bytes) {
    if (bytes.size() >= 4 && startsWith(bytes, {0xFF, 0xD8})) return jpegBreaksOff(bytes);
    // The PNG decoder would notice, but says so on standard error.
    if (startsWith(bytes, {0x89, 'P', 'N', 'G'})) return !holds(bytes, 8, {'I', 'E', 'N', 'D'});
    if (startsWith(bytes, {'P', '5'}) || startsWith(bytes, {'P', '6'})) return pnmBreaksOff(bytes);
    return false;
}

std::string sizeText(cv::Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

}  // namespace brantel::programs
