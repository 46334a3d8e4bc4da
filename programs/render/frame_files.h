// The files of a report's frames, and whether they are still what they were.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "render/report_reader.h"

namespace brantel::programs {

/// Where a frame is read from.
struct FrameFile {
    std::filesystem::path path;
    std::size_t page = 1;  ///< from 1
    std::string problem;   ///< why it cannot be rendered, for instance "the file is missing"; "": none
};

/// Looks for the files where the report says and, if they are not there, beside the report, since a folder may have been moved
/// with it. Throws InputError when the wanted frames are in no files.
/// @param wanted  numbers of frames, from 0
std::vector<FrameFile> frameFilesOf(const ScanReport& report, const std::filesystem::path& reportFile,
                                    const std::vector<std::size_t>& wanted);

}  // namespace brantel::programs
