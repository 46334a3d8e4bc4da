// Frames that are in no file, written to files.
#pragma once

#include <filesystem>
#include <memory>

#include "frames/frame.h"

namespace brantel::programs {

/// The frames of another source, each written to the folder as frame_000001.png and so on before it is handed
/// on. Throws InputError when the folder holds pictures already, OutputError when it cannot be made.
std::unique_ptr<FrameSource> keepingFrames(std::unique_ptr<FrameSource> source,
                                           const std::filesystem::path& folder);

}  // namespace brantel::programs
