// Videos, cameras and streams.
#pragma once

#include <memory>
#include <string>

#include "frames/frame.h"

namespace brantel::programs {

/// What can be named as input beside pictures, to follow on them in a help text.
extern const char* const videoInputs;

/// A video file's frames, as they are stored. Throws InputError when it cannot be opened.
std::unique_ptr<FrameSource> openVideo(const std::string& file);

/// The frames of a camera's device or of an address as they come; those of a recording behind an address wait
/// to be taken. Throws InputError when it cannot be opened.
std::unique_ptr<FrameSource> openCamera(const std::string& input);

/// The address without name and password in it.
std::string withoutPassword(const std::string& address);

}  // namespace brantel::programs
