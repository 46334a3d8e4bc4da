// Recorded camera paths: pictures with a list of where each lies in the one before.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/camera_path.h"
#include "support/picture.h"

namespace brantel::test {

/// One frame of a recorded path.
struct Step {
    std::string file;
    Spot window{};  // of the stored picture; without width and height all of it
    std::int32_t width = 0;
    std::int32_t height = 0;
    Spot shift{};  // of its top-left pixel in the frame before
};

/// A list in JSON: objects with the fields file, dx and dy, and x, y, w and h when a frame is a part of its picture.
struct Sequence {
    std::string name;
    std::vector<Step> steps;

    /// Empty when the file is no such list.
    static Sequence read(const std::filesystem::path& list);
};

/// All such lists below a folder, by name.
std::vector<Sequence> sequencesIn(const std::filesystem::path& folder);

/// The frame of a step, in colour if its picture is.
Picture frameOf(const std::filesystem::path& folder, const Step& step);

}  // namespace brantel::test
