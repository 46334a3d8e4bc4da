// Where frames come from: picture files, a folder of them, a video, or something live.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "frames/frame.h"
#include "frames/picture_reader.h"

namespace brantel::programs {

struct RawFormat {
    std::int32_t width = 0;  ///< 0: no raw input is wanted
    std::int32_t height = 0;
    std::int32_t channels = 0;
};

struct SourceSettings {
    std::vector<std::string> inputs;  ///< pictures and folders, or one video, camera or stream
    std::string watched;              ///< or a folder to which pictures are added
    double idleSeconds = 0;           ///< watching ends after so long without new pictures; 0: never
    RawFormat raw;                    ///< or frames on standard input
    ReadingSettings reading;
    std::string keptFolder;  ///< where frames that are in no picture file are written to; "": nowhere
};

/// What the inputs are. Nothing has been read but names.
struct Inputs {
    std::vector<std::filesystem::path> pictures;  ///< in the order in which they are taken
    std::string video;                            ///< the one video file
    std::string camera;                           ///< the one camera or stream
};

/// Sorts the inputs out: folders become their pictures in natural order. Throws InputError.
Inputs listInputs(const std::vector<std::string>& inputs);

/// Opens what the settings name. Frames are read on another thread while the ones before are worked on.
/// Throws InputError.
std::unique_ptr<FrameSource> openSource(const SourceSettings& settings, const Inputs& inputs);

/// True for what is read as a picture: by its name or, where that says nothing, by its first bytes.
bool isPicture(const std::filesystem::path& path);

/// The pictures of a folder in natural order. Throws InputError when it cannot be read.
std::vector<std::filesystem::path> picturesIn(const std::filesystem::path& folder);

/// Natural order: digits compare as numbers, so frame2 comes before frame10.
bool naturallyBefore(const std::string& a, const std::string& b);

/// True for what is opened by an address: "rtsp://camera/1".
bool isAddress(const std::string& input);

}  // namespace brantel::programs
