// What differs by operating system.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

bool isTerminal(std::FILE* stream);

/// std::fopen() for any name.
std::FILE* openFile(const std::filesystem::path& path, const char* mode);

/// The command line as UTF-8, which every std::string of the host is: names become paths by u8path() and
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

/// Keeps the library's standard-output lines apart from the host's output: from construction on, whatever the
/// process writes to standard output goes to a log; the host writes to own().
///
/// One object per process; it is made before initJoint and outlives uinitJoint.
class LibraryLog {
  public:
    /// Logs to a file, or to nowhere when the name is empty. Throws OutputError.
    explicit LibraryLog(const std::string& fileName);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    /// What standard output was before.
    std::FILE* own() const { return own_; }

    /// The lines the library has written since the last call.
    std::string newLines();

  private:
    bool keep_;
    std::FILE* own_ = nullptr;
    std::FILE* log_ = nullptr;
    long long read_ = 0;  // how far newLines() has got
};

}  // namespace host
