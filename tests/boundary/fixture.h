// A forced CPU backend and frames between guard pages, for calls that must come back whatever they are given.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/guarded_buffer.h"
#include "support/lines.h"
#include "support/picture.h"
#include "support/scratch_directory.h"
#include "support/session.h"

namespace brantel::test {

using GuardedFrame = std::unique_ptr<GuardedBuffer<std::uint8_t>>;

class BoundaryTest : public testing::Test {
  protected:
    BoundaryTest() { directory_.write("stitch.txt", "1"); }
    ~BoundaryTest() override { uinitJoint(); }

    static bool init(std::int32_t rows, std::int32_t cols, std::int32_t channels, std::int32_t density = 1,
                     std::int32_t mainMode = 1) {
        return initJoint(rows, cols, channels, density, 20000, 20000, mainMode, 0);
    }

    /// A frame at (x, y), up to (240, 64), of one picture, with nothing readable behind (or before) it.
    static GuardedFrame frame(std::int32_t x, std::int32_t y, std::int32_t rows, std::int32_t cols,
                              std::int32_t channels, Guard guard = Guard::behind) {
        const Picture picture = makePicture(Texture::fine, rows + 64, cols + 240, channels, 21);
        return GuardedBuffer<std::uint8_t>::copyOf(picture.window(x, y, rows, cols), guard);
    }

    /// A call without an expected shift.
    static StitchOutputs stitch(GuardedBuffer<std::uint8_t>* first, GuardedBuffer<std::uint8_t>* current,
                                std::int32_t continueFlag, std::int32_t scale = 1) {
        return stitchExpecting(first, current, continueFlag, scale, 0, 0, false);
    }

    static StitchOutputs stitchExpecting(GuardedBuffer<std::uint8_t>* first,
                                         GuardedBuffer<std::uint8_t>* current, std::int32_t continueFlag,
                                         std::int32_t scale, std::int32_t x, std::int32_t y,
                                         bool use = true) {
        StitchOutputs out;
        out.result = stichingImagedJoint(first == nullptr ? nullptr : first->data(),
                                         current == nullptr ? nullptr : current->data(), continueFlag, scale,
                                         x, y, use, &out.minCorner, &out.maxCorner, &out.mosaic, &out.flags);
        return out;
    }

  private:
    ScratchDirectory directory_;
};

}  // namespace brantel::test
