// A stream of which every frame is merged, and what one of its frames costs the device's bus.
#pragma once

#include <functional>

#include "cuda/emulated_cuda.h"
#include "support/output_capture.h"
#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {

/// Stitches frames that go to and fro by a quarter of their width, so that the canvas need not grow, until buffers and
/// maps are there; around(call) then makes the call of another such frame. What the device was asked for before is
/// forgotten. False when a frame was not merged.
inline bool mergeSteadyFrame(const SessionOptions& options,
                             const std::function<void(const std::function<void()>&)>& around) {
    const std::int32_t step = options.cols / 4;
    const Picture picture =
        makePicture(Texture::fine, options.rows + 40, options.cols + step, options.channels, 8);
    const auto frameAt = [&](int i) {
        return picture.window(i % 2 == 0 ? 0 : step, 8 * i, options.rows, options.cols);
    };
    bool merged = true;
    captureOutput([&] {
        Session session(options);
        Frame first = frameAt(0);
        merged = session.start(first, frameAt(1)).result == 0 && session.next(frameAt(2)).result == 0;
        const Frame frame = frameAt(3);
        emulated_cuda::reset();
        StitchOutputs out;
        around([&] { out = session.next(frame); });
        merged = merged && out.result == 0 && out.flags.offset.x == step && out.flags.stitch_flags == 1;
    });
    return merged;
}

}  // namespace brantel::test
