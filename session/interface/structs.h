// Structs that cross the C interface: their sizes tell which fields the other side knows.
#pragma once

#include <brantel/session.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace brantel::session {

// The first version's sizes: structs only ever grow.
constexpr std::uint32_t settingsSize = 88;
constexpr std::uint32_t inputSize = 48;
constexpr std::uint32_t frameSize = 56;
constexpr std::uint32_t answerSize = 72;
constexpr std::uint32_t mapSize = 48;
static_assert(sizeof(void*) != 8 || sizeof(brantel_settings) == settingsSize, "hosts rely on it");
static_assert(sizeof(brantel_input) == inputSize && sizeof(brantel_frame) == frameSize &&
                  sizeof(brantel_answer) == answerSize && sizeof(brantel_map) == mapSize,
              "hosts rely on it");

/// Overwrites full, which holds the defaults, with the fields that a caller's struct has. False when the caller sets
/// fields that are not known here.
template <class T>
bool takeStruct(const T& given, T& full) {
    static_assert(std::is_trivially_copyable_v<T>);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&given);
    const std::size_t known = std::min<std::size_t>(given.size, sizeof(T));
    if (std::any_of(bytes + known, bytes + given.size, [](unsigned char byte) { return byte != 0; }))
        return false;
    std::memcpy(&full, bytes, known);
    full.size = sizeof(T);
    return true;
}

/// Hands over the fields that a caller's struct has; those that are not known here become 0.
template <class T>
void giveStruct(const T& full, T& target) {
    const std::uint32_t size = target.size;
    auto* bytes = reinterpret_cast<unsigned char*>(&target);
    const std::size_t known = std::min<std::size_t>(size, sizeof(T));
    std::memcpy(bytes, &full, known);
    std::memset(bytes + known, 0, size - known);
    target.size = size;
}

}  // namespace brantel::session
