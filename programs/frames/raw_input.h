// Frames that another program writes to standard input.
#pragma once

#include "frames/source.h"
#include "system/platform.h"

namespace brantel::programs {

/// Frames of one size with 8-bit samples (grey, or blue, green, red), one after the other without anything
/// between them. None is dropped: the writer waits.
class RawInput : public FrameSource {
  public:
    /// Throws InputError when standard input is a terminal.
    explicit RawInput(const RawFormat& format);

    bool next(Frame& frame) override;
    std::string remark() const override { return remark_; }

  private:
    RawFormat format_;
    StandardInput input_;
    std::size_t index_ = 0;
    std::string remark_;
};

}  // namespace brantel::programs
