// The search for the corners of one of the two frames of a registration.
#pragma once

#include "common/tuning.h"
#include "opencl/state.h"

namespace brantel {

/// Looks for one side's corners in a grey image on the device. Half-size image, gradients and smoothing are the
/// device's, the rest is the processor's. False everywhere when a device step failed; an image without corners
/// is no failure.
struct CornerSearch {
    const ClDevice& device;
    OpenclSide& side;
    Extent half;  // the size at which corners are found
    const CornerTuning& tuning;

    /// In a whole frame's image.
    bool inFrame(cl_mem grey, const ImageDesc& frame) const;
    /// In the part of a frame's image that the other frame overlaps under the expected shift. It is cut by a
    /// kernel that fills one element per row, and is searched at the frame's size: what is found there says
    /// little, so that it does not matter how long its rows are. Deliberate.
    bool inRowRange(cl_mem grey, const ImageDesc& frame, const ExpectedShift& expected) const;

  private:
    bool inImage(cl_mem grey) const;
    cl_mem packedEven(cl_mem grey, const ImageDesc& frame) const;
    bool clearRowRangeOnce() const;
    bool findCorners(cl_mem grey) const;
    bool computeProducts(cl_mem grey) const;
    bool smoothProduct(cl_mem product) const;
    bool readProducts() const;
};

}  // namespace brantel
