// Stitch calls through OpenCL one by one, with everything they say.
#pragma once

#include "opencl/fake_machine.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {

/// A call with all outputs, and what was said meanwhile.
struct CallReport {
    StitchOutputs out;
    Lines output;
    Lines debug;
};

class StreamMachine : public FakeMachine {
  protected:
    static constexpr std::int32_t rows = 216;  // not square, no multiples of the tile of 16
    static constexpr std::int32_t cols = 300;

    void open(std::int32_t channels, std::int32_t mainMode = 1) { openSize(rows, cols, channels, mainMode); }
    /// The same for frames of another size.
    void openSize(std::int32_t frameRows, std::int32_t frameCols, std::int32_t channels,
                  std::int32_t mainMode = 1) {
        frameRows_ = frameRows;
        frameCols_ = frameCols;
        picture_ = makePicture(Texture::fine, 400, 300 + frameCols, channels, 8);
        ASSERT_TRUE(init({frameRows, frameCols, channels, 1, 20000, 20000}, {mainMode, 0}).ready);
        forget();
    }

    Frame frameAt(std::int32_t x, std::int32_t y) const {
        return picture_.window(x, y, frameRows_, frameCols_);
    }

    CallReport call(std::uint8_t* first, std::uint8_t* current, bool continues, ExpectedShift expected = {},
                    std::int32_t scale = 1) {
        lines().take();
        CallReport report;
        StitchOutputs& out = report.out;
        out.result = engine().stichingImagedJoint({first, current, continues ? 1 : 0, scale, expected,
                                                   &out.minCorner, &out.maxCorner, &out.mosaic, &out.flags});
        Spoken spoken = lines().take();
        report.output = spoken.outputLines();
        report.debug = std::move(spoken.debug);
        return report;
    }
    CallReport start(Frame first, Frame second, ExpectedShift expected = {}) {
        return call(first.data(), second.data(), false, expected);
    }
    CallReport next(Frame frame) { return call(nullptr, frame.data(), true); }

    Picture picture_;

  private:
    std::int32_t frameRows_ = rows;
    std::int32_t frameCols_ = cols;
};

}  // namespace brantel::test
