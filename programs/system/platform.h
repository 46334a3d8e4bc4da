// What differs by operating system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace brantel::programs {

bool isTerminal(std::FILE* stream);

/// std::fopen() for any name.
std::FILE* openFile(const std::filesystem::path& path, const char* mode);

/// Makes a file for writing bytes; null, with errno EEXIST, when there is one of that name already.
std::FILE* createFile(const std::filesystem::path& path);

/// What the system knows about a file, links followed.
struct FileFacts {
    std::uint64_t device = 0;
    std::uint64_t index = 0;  ///< with the device: the same for every name of one file, and for no other file
    std::int64_t bytes = 0;
    std::int64_t modified = 0;     ///< nanoseconds since 1970
    bool regular = false;          ///< no folder, device or pipe
    bool characterDevice = false;  ///< a character device, as cameras are
};
std::optional<FileFacts> factsOf(const std::filesystem::path& path);

/// Puts the null device in the place of every standard stream that the process was started without; else the
/// next file that is opened would take that place, and what is printed would end up in it.
void fillStandardStreams();

/// False when the process was started without standard output.
bool hasStandardOutput();

/// Standard input for bytes, under a descriptor of its own, so that closing descriptor 0 does not matter.
class StandardInput {
  public:
    StandardInput();
    ~StandardInput();
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

    /// Reads what there is, at most so many bytes, waiting for a tenth of a second if there is nothing yet.
    /// 0: still nothing; -1: no more will come.
    std::ptrdiff_t readSome(void* to, std::size_t bytes);

  private:
    int descriptor_;
};

/// The command line as UTF-8, which every std::string of the programs is: names become paths by u8path() and
/// texts by u8string().
class Arguments {
  public:
    Arguments(int argc, char** argv);
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    int count() const { return static_cast<int>(texts_.size()); }
    char** values() { return pointers_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;  // with a null behind the last
};

}  // namespace brantel::programs
