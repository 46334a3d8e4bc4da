// Whole files in and out.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// What the user gave cannot be used; the text names it and the way out.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A result could not be written; the text names the file and the way out.
struct OutputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A file's bytes; empty when it cannot be read.
std::vector<std::uint8_t> readFile(const std::filesystem::path& path);

/// Writes a file completely or not at all: under a temporary name beside it first, renamed when every byte is
/// on its way to the disk. Throws OutputError.
void writeFile(const std::filesystem::path& path, const void* bytes, std::size_t size);
void writeFile(const std::filesystem::path& path, const std::string& text);

/// Throws OutputError when no file can be made beside path. Asked before work begins that takes hours.
void requireWritable(const std::filesystem::path& path);

}  // namespace host
