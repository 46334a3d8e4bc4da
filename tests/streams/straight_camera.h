// A camera that goes on in straight lines, far beyond the first canvas.
#pragma once

#include <gtest/gtest.h>

#include "support/camera_path.h"

namespace brantel::test {

/// A session over a picture that is wide and high enough to leave the canvas on every side, led in straight lines.
class StraightCamera {
  public:
    static constexpr std::int32_t frameSide = 400;
    static constexpr std::int32_t step = 300;

    /// Frames at (x, y), (x, y) + (dx, dy), ...; returns the last call's outputs.
    StitchOutputs scan(std::int32_t dx, std::int32_t dy, std::int32_t frames) {
        x_ = y_ = 0;
        Frame first = frameThere();
        for (std::int32_t i = 1; i < frames; ++i) {
            move(dx, dy);
            out_ = i == 1 ? session_.start(first, frameThere()) : session_.next(frameThere());
            EXPECT_EQ(out_.result, 0) << "frame " << i;
        }
        return out_;
    }
    StitchOutputs goOn(std::int32_t dx, std::int32_t dy, std::int32_t frames) {
        for (std::int32_t i = 0; i < frames; ++i) {
            move(dx, dy);
            out_ = session_.next(frameThere());
            EXPECT_EQ(out_.result, 0);
        }
        return out_;
    }

    /// One frame, after whose refusal the camera is where it was.
    StitchOutputs tryToGoOn(std::int32_t dx, std::int32_t dy) {
        move(dx, dy);
        out_ = session_.next(frameThere());
        if (out_.result < 0) move(-dx, -dy);
        return out_;
    }

  private:
    void move(std::int32_t dx, std::int32_t dy) {
        x_ += dx;
        y_ += dy;
    }
    /// The picture repeats itself in both directions, much later than a frame overlaps the next one.
    Frame frameThere() const {
        Frame frame;
        for (std::int32_t r = 0; r < frameSide; ++r)
            for (std::int32_t c = 0; c < frameSide; ++c) {
                const std::int32_t px = ((x_ + c) % picture_.cols + picture_.cols) % picture_.cols;
                const std::int32_t py = ((y_ + r) % picture_.rows + picture_.rows) % picture_.rows;
                frame.push_back(picture_.pixels[static_cast<std::size_t>(py) * picture_.cols + px]);
            }
        return frame;
    }

    const Picture picture_ = makePicture(Texture::fine, 2100, 2100, 1, 31);
    Session session_{{frameSide, frameSide, 1, 1, 0, 8}};
    StitchOutputs out_;
    std::int32_t x_ = 0;
    std::int32_t y_ = 0;
};

}  // namespace brantel::test
