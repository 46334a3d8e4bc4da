#include "picture_bytes.h"

#include <algorithm>
#include <cctype>

#include "image_io.h"

namespace host {

std::string extensionOf(const std::filesystem::path& path) {
    std::string extension = path.extension().u8string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool isOneOf(const std::string& extension, std::initializer_list<const char*> names) {
    return std::find(names.begin(), names.end(), extension) != names.end();
}

/// A JPEG that breaks off decodes all the same, grey from there on; what tells is that no end marker follows
/// the beginning of the picture data. Segments before that (with previews in them) are stepped over.
bool breaksOff(const std::vector<std::uint8_t>& bytes) {
    const std::size_t size = bytes.size();
    if (size < 4 || bytes[0] != 0xFF || bytes[1] != 0xD8) return false;
    std::size_t at = 2;
    while (at + 4 <= size && bytes[at] == 0xFF && bytes[at + 1] != 0xDA)
        at += 2 + (std::size_t{bytes[at + 2]} << 8 | bytes[at + 3]);
    constexpr std::uint8_t endMarker[] = {0xFF, 0xD9};
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at, size));
    return std::search(from, bytes.end(), std::begin(endMarker), std::end(endMarker)) == bytes.end();
}

OutputError tooLargeFor(const std::filesystem::path& path, cv::Size size) {
    return OutputError("cannot write " + path.u8string() + ": a picture of " + std::to_string(size.width) +
                       " x " + std::to_string(size.height) +
                       " pixels is too large for this format; choose another of " + outputNames);
}

}  // namespace host
