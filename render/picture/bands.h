// A picture blended out of its frames, a band of rows at a time from top to bottom.
#pragma once

#include <cstdint>
#include <memory>

#include "frame_reader.h"
#include "light/flat_field.h"
#include "picture/layout.h"

namespace brantel::render {

enum class Blend {
    feather,  ///< means weighted by each pixel's distance to its frame's edge
    none      ///< each pixel from the frame in which it is farthest from the edge
};

/// What a picture is made of. What it refers to must outlive its use.
struct PictureParts {
    const Layout& layout;
    const FlatField& light;
    FrameReader& frames;
    Blend blend = Blend::feather;
};

class PictureBands {
  public:
    /// Throws std::invalid_argument when light or frames do not fit the layout.
    /// @param memory  bytes that decoded frames may take; when one reading of the frames in a band would need more, every
    ///                frame is read twice, for its upper and its lower half
    PictureBands(const PictureParts& parts, std::int64_t memory);
    ~PictureBands();

    /// Fills rows of the picture, which follow those of the call before; pixels that no frame covers become 0. Colours
    /// are red, green, blue. A frame that cannot be read leaves its place to the others.
    /// @param stride  bytes from row to row
    void next(std::int32_t rows, void* to, std::int64_t stride);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace brantel::render
