#include "frames/source.h"
#include "frames/video.h"

namespace brantel::programs {

namespace {

constexpr const char* separator = "://";

}  // namespace

bool isAddress(const std::string& input) {
    const std::size_t at = input.find(separator);
    return at != std::string::npos && at > 1 && input.find_first_of("/\\") > at;
}

std::string withoutPassword(const std::string& address) {
    if (!isAddress(address)) return address;
    const std::size_t from = address.find(separator) + 3;
    const std::size_t host = address.substr(0, address.find('/', from)).rfind('@');
    return host == std::string::npos || host < from ? address
                                                    : address.substr(0, from) + address.substr(host + 1);
}

}  // namespace brantel::programs
