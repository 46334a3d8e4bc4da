// Whole files in and out.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace brantel::programs {

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

/// A file that appears completely or not at all: it is written under a temporary name beside the place, which
/// no other file has, and renamed when every byte is on its way to the disk. Names that stand for something
/// that must not be replaced, such as a pipe or a device, are written to directly. Links are followed.
class NewFile {
  public:
    /// Throws OutputError.
    explicit NewFile(const std::filesystem::path& path);
    /// Without commit() nothing is left.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Throws OutputError.
    void write(const void* bytes, std::size_t size);

    /// The last bytes go out and the file takes its place. Throws OutputError.
    void commit();

  private:
    bool direct() const { return written_ == file_; }
    void remove();

    std::filesystem::path asked_;
    std::filesystem::path file_;
    std::filesystem::path written_;
    std::FILE* stream_ = nullptr;
};

void writeFile(const std::filesystem::path& path, const void* bytes, std::size_t size);
void writeFile(const std::filesystem::path& path, const std::string& text);

/// Throws OutputError when no file can be made beside path. Asked before work begins that takes hours.
void requireWritable(const std::filesystem::path& path);

/// The exception for a file that could not be written, after errno.
OutputError writeError(const std::filesystem::path& path, int error);

}  // namespace brantel::programs
