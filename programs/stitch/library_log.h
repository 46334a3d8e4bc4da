// The library's own lines, for those who want to look into its work.
#pragma once

#include <cstdio>
#include <string>

namespace brantel::programs {

/// A file that sessions write their lines to.
class LibraryLog {
  public:
    /// Without a name nobody wants the lines. Throws OutputError.
    explicit LibraryLog(const std::string& fileName);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    bool isWanted() const { return file_ != nullptr; }

    /// In the form in which a session calls it back; the log is the user. The line is in the file when this returns.
    static void write(void* log, const char* line);

  private:
    std::FILE* file_ = nullptr;
};

}  // namespace brantel::programs
