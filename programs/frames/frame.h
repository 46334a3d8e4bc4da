// One frame, and where it comes from.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "pictures/range.h"

namespace brantel::programs {

/// What it takes to read the frame once more from its file.
struct Origin {
    std::string path;            ///< absolute; "" for what is in no file
    std::size_t page = 1;        ///< of a stack; of a video, a camera or raw input the number of the frame
    std::int64_t bytes = -1;     ///< of the whole file; -1: not known
    std::int64_t modified = 0;   ///< nanoseconds since 1970
    std::optional<Range> range;  ///< the stored values that have become 1 and 255; nothing: stored in 8 bits
    std::string kept;            ///< the file that the frame was written to; "": none
    std::int64_t keptBytes = 0;
    std::int64_t keptModified = 0;
};

struct Frame {
    std::size_t index = 0;  ///< the place in the source, from 0; frames that were dropped count
    std::string name;       ///< file name; for a page or a frame of a video "film.mp4#12"
    cv::Mat image;          ///< 8 bits, 1 or 3 channels; empty when it could not be read
    std::string problem;    ///< why not
    bool outOfMemory = false;
    Origin origin;
    std::optional<double> beyond;  ///< as in Toned
    std::string notKept;           ///< why it could not be written to the folder for kept frames
};

class FrameSource {
  public:
    virtual ~FrameSource() = default;

    /// The next frame, readable or not; false at the end, and soon after somebody has asked for a stop.
    virtual bool next(Frame& frame) = 0;

    /// How many frames there are; 0 when that is not known.
    virtual std::size_t count() const { return 0; }

    /// Frames that came faster than they were taken. May be asked while next() runs on another thread.
    virtual std::size_t dropped() const { return 0; }

    /// What there is to say at the end, for instance that a video broke off; "" for nothing.
    virtual std::string remark() const { return ""; }
};

}  // namespace brantel::programs
