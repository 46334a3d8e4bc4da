// Corners that a call found, beside those that the reference finds in the same images.
#pragma once

#include <vector>

#include "gpu/reference.h"
#include "gpu/row_range.h"
#include "opencl/run_kernel.h"
#include "opencl/stream_machine.h"
#include "reference/harris.h"
#include "reference/image_ops.h"
#include "registration/harris.h"
#include "support/test_log.h"

namespace brantel::test {

class FeaturesMachine : public StreamMachine {
  protected:
    const ImageDesc& frame() { return engine().frame; }

    /// The grey image that a side's corners are looked for in.
    Frame greyOfSide(const OpenclSide& side) {
        const std::uint8_t* pixels = side.reduced.data();
        if (frame().channels == 1) return {pixels, pixels + frame().pixels()};
        Frame grey(static_cast<std::size_t>(frame().pixels()));
        EXPECT_TRUE(reference::rgb2gray(toOutput(), pixels, frame().rows, frame().cols, grey.data()));
        return grey;
    }

    /// A byte image of the frame's size as it lies on the device.
    Frame deviceImage(ClBuffer id) {
        Frame image(static_cast<std::size_t>(frame().pixels()));
        EXPECT_TRUE(readBuffer(engine().device, engine().device.buffers[id], image.data(), frame().pixels()));
        return image;
    }

    std::vector<CornerPoint> referenceCorners(const std::uint8_t* grey, std::int32_t greyRows,
                                              std::int32_t greyCols) {
        const gpu_test::Products products = gpu_test::smoothedProducts(grey, greyRows, greyCols);
        RecordedLines lines;
        return reference::selectCorners(Log(lines), products.xx.data(), products.yy.data(),
                                        products.xy.data(), greyRows / 2, greyCols / 2, engine().tuning);
    }
};

}  // namespace brantel::test
