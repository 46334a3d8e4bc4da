#include "stitch/option_values.h"

#include <charconv>
#include <vector>

namespace brantel::programs {

namespace {

constexpr std::int32_t longestSide = 100000;

/// All of the text has to be whole numbers with the separator between them, else there are none.
std::vector<std::int32_t> numbersIn(const std::string& text, char separator) {
    std::vector<std::int32_t> numbers;
    const char* at = text.data();
    const char* const last = at + text.size();
    for (;;) {
        std::int32_t number = 0;
        const auto [end, error] = std::from_chars(at, last, number);
        if (error != std::errc()) return {};
        numbers.push_back(number);
        if (end == last) return numbers;
        if (*end != separator) return {};
        at = end + 1;
    }
}

bool isSide(std::int32_t number) {
    return number > 0 && number <= longestSide;
}

}  // namespace

std::optional<RawFormat> parseRaw(const std::string& text) {
    const std::vector<std::int32_t> numbers = numbersIn(text, 'x');
    if (numbers.size() != 3 || !isSide(numbers[0]) || !isSide(numbers[1])) return std::nullopt;
    if (numbers[2] != 1 && numbers[2] != 3) return std::nullopt;
    return RawFormat{numbers[0], numbers[1], numbers[2]};
}

std::optional<PageChoice> parsePages(const std::string& text) {
    const std::vector<std::int32_t> numbers = numbersIn(text, ',');
    if (numbers.empty() || numbers.size() > 3) return std::nullopt;
    for (const std::int32_t number : numbers)
        if (number < 1) return std::nullopt;
    PageChoice choice;
    choice.first = static_cast<std::size_t>(numbers[0]);
    if (numbers.size() > 1) choice.step = static_cast<std::size_t>(numbers[1]);
    if (numbers.size() > 2) choice.count = static_cast<std::size_t>(numbers[2]);
    return choice;
}

std::optional<std::pair<std::int32_t, std::int32_t>> parseLimit(const std::string& text) {
    const std::vector<std::int32_t> numbers = numbersIn(text, ',');
    if (numbers.size() != 2 || numbers[0] < 1 || numbers[1] < 1) return std::nullopt;
    if (std::int64_t{numbers[0]} * numbers[1] > INT32_MAX) return std::nullopt;
    return std::pair(numbers[0], numbers[1]);
}

std::optional<Shift> parseShift(const std::string& text) {
    const std::vector<std::int32_t> numbers = numbersIn(text, ',');
    if (numbers.size() != 2) return std::nullopt;
    return Shift(numbers[0], numbers[1]);
}

}  // namespace brantel::programs
