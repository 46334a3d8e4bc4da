// The library's own lines, apart from what the program prints.
#pragma once

#include <cstdio>
#include <string>

namespace brantel::programs {

/// From construction on, whatever the process writes to standard output goes to a log; the program writes to
/// own(). One object per process; it is made before initJoint and outlives uinitJoint.
class LibraryLog {
  public:
    /// Logs to a file, or to nowhere when the name is empty: then no file is needed. Throws OutputError.
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

}  // namespace brantel::programs
