// Stitch calls through OpenCL one by one, with everything they say.
#pragma once

#include "opencl/cl_session.h"
#include "opencl/fake_machine.h"
#include "support/output_capture.h"
#include "support/picture.h"

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

    void SetUp() override {
        FakeMachine::SetUp();
        stitchModes() = {1, 0};
    }

    void open(std::int32_t channels, std::int32_t mainMode = 1) {
        picture_ = makePicture(Texture::fine, 400, 600, channels, 8);
        stitchModes() = {mainMode, 0};
        ASSERT_TRUE(init({rows, cols, channels, 1, 20000, 20000}).ready);
        forget();
    }

    /// The machine as it was before the test; for tests that go through several.
    void renew() {
        TearDown();
        SetUp();
    }

    Frame frameAt(std::int32_t x, std::int32_t y) const { return picture_.window(x, y, rows, cols); }

    static CallReport call(std::uint8_t* first, std::uint8_t* current, bool continues,
                           ExpectedShift expected = {}, std::int32_t scale = 1) {
        CallReport report;
        StitchOutputs& out = report.out;
        report.debug = captureDebugLines([&] {
            report.output = captureLines([&] {
                out.result = stichingImagedJointCL({first, current, continues ? 1 : 0, scale, expected,
                                                    &out.minCorner, &out.maxCorner, &out.mosaic, &out.flags});
            });
        });
        return report;
    }
    static CallReport start(Frame first, Frame second, ExpectedShift expected = {}) {
        return call(first.data(), second.data(), false, expected);
    }
    static CallReport next(Frame frame) { return call(nullptr, frame.data(), true); }

    Picture picture_;
};

}  // namespace brantel::test
