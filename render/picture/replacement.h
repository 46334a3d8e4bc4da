// Files that appear when they are complete, in place of older ones of their names.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace brantel::render {

/// A folder of a new name beside the files that are to be made. It goes with the object, and all in it. Temporary files
/// of libvips are made in it as well, as long as it is there: they are as large as the picture.
/// That goes by the environment, so that no other thread may read it when the object is made or goes.
class Replacement {
  public:
    /// @param file  one of the files that are to be made. Throws std::runtime_error when nothing can be made beside it
    explicit Replacement(const std::filesystem::path& file);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement();

    const std::filesystem::path& folder() const { return folder_; }

    /// Moves what was made in the folder to its place. Old files of these names go; they stay when one of the new ones
    /// cannot be moved, and a folder never gives way to a file or the other way round. Throws std::runtime_error.
    /// @param names   in the folder
    /// @param places  one for each
    void moveTo(const std::vector<std::string>& names, const std::vector<std::filesystem::path>& places);

  private:
    std::filesystem::path folder_;
    std::string before_;  ///< where temporary files were made; "" for the system's place
};

}  // namespace brantel::render
