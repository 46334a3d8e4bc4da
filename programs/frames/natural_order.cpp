#include <cctype>

#include "frames/source.h"

namespace brantel::programs {

namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

/// The run of digits at `at` without leading zeros; moves past it.
std::string takeNumber(const std::string& text, std::size_t& at) {
    while (at < text.size() && text[at] == '0') ++at;
    const std::size_t from = at;
    while (at < text.size() && isDigit(text[at])) ++at;
    return text.substr(from, at - from);
}

}  // namespace

bool naturallyBefore(const std::string& a, const std::string& b) {
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < a.size() && k < b.size()) {
        if (isDigit(a[i]) && isDigit(b[k])) {
            const std::string left = takeNumber(a, i);
            const std::string right = takeNumber(b, k);
            if (left.size() != right.size()) return left.size() < right.size();
            if (left != right) return left < right;
        } else {
            if (a[i] != b[k]) return a[i] < b[k];
            ++i;
            ++k;
        }
    }
    if (a.size() - i != b.size() - k) return a.size() - i < b.size() - k;
    return a < b;  // "1" and "01": equal numbers, still an order
}

}  // namespace brantel::programs
