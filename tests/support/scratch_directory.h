// A new empty directory as the current one; the old one comes back and the new one goes with the object.
#pragma once

#include <filesystem>
#include <string>

namespace brantel::test {

class ScratchDirectory {
  public:
    ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    ~ScratchDirectory();

    const std::filesystem::path& path() const { return path_; }
    /// Writes a file into it, byte for byte.
    void write(const std::string& name, const std::string& contents) const;

  private:
    std::filesystem::path path_;
    std::filesystem::path before_;
};

/// A file name in the system's temporary directory that no other process or call gets.
std::filesystem::path uniqueTemporaryName(const std::string& stem);

}  // namespace brantel::test
