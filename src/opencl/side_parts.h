// What each of the two workers runs, and where: they share neither kernels nor buffers.
#pragma once

#include "opencl/tables.h"
#include "registration/features.h"

// clang-format off
/// X(member, kernel of the previous frame's side); the current frame's has a 2 behind its name.
#define BRANTEL_CL_SIDE_KERNELS(X) \
    X(grey,         rgb2GaryKernel) \
    X(downscale,    opencvInterLineARResizeDownCh1Kernel) \
    X(gradients,    findGradSquareCrossTermsKernel) \
    X(borderRow,    opencvcopyFilter2DBorderRowFloat) \
    X(borderCol,    opencvcopyFilter2DBorderColFloat) \
    X(filterRow,    opencvFilter2DRowCalcFloatWin5) \
    X(filterCol,    opencvFilter2DColCalcFloatWin5) \
    X(takeOutBound, opencvcopyFilter2DTakeOutBoundFloat) \
    X(rowRange,     getRowRange)

/// X(member, buffer of the previous frame's side, buffer of the current frame's).
#define BRANTEL_CL_SIDE_BUFFERS(X) \
    X(greyImage,     modelGrayCL,             matchGrayCL) \
    X(halfImage,     gray_pointdownscalClOne, gray_pointdownscalClTwo) \
    X(xx,            grad_x2ClOne,            grad_x2ClTwo) \
    X(yy,            grad_y2ClOne,            grad_y2ClTwo) \
    X(xy,            grad_xyClOne,            grad_xyClTwo) \
    X(filterTemp,    filterTempClOne,         filterTempClTwo) \
    X(filterTemp2,   filterTemp2ClOne,        filterTemp2ClTwo) \
    X(rowRangeImage, rowRangeModelCL,         DestTempImageCL)
// clang-format on

namespace brantel {

struct SideParts {
// NOLINTBEGIN(bugprone-macro-parentheses): members' names
#define BRANTEL_CL_MEMBER(member, kernel) ClKernel member{};
    BRANTEL_CL_SIDE_KERNELS(BRANTEL_CL_MEMBER)
#undef BRANTEL_CL_MEMBER
#define BRANTEL_CL_MEMBER(member, previous, current) ClBuffer member{};
    BRANTEL_CL_SIDE_BUFFERS(BRANTEL_CL_MEMBER)
#undef BRANTEL_CL_MEMBER
    // NOLINTEND(bugprone-macro-parentheses)
    const char* rowRangeLine = nullptr;  // debug line of a row range of a frame that is grey already, or null
    const char* noCornersLine = nullptr;  // stream
};

constexpr SideParts partsOf(FrameRole role) {
    const bool previous = role == FrameRole::previous;
    SideParts parts;
#define BRANTEL_CL_SET(member, kernel) parts.member = previous ? ClKernel::kernel : ClKernel::kernel##2;
    BRANTEL_CL_SIDE_KERNELS(BRANTEL_CL_SET)
#undef BRANTEL_CL_SET
#define BRANTEL_CL_SET(member, model, match) parts.member = previous ? ClBuffer::model : ClBuffer::match;
    BRANTEL_CL_SIDE_BUFFERS(BRANTEL_CL_SET)
#undef BRANTEL_CL_SET
    parts.rowRangeLine = previous ? "getRangeTh1 in" : nullptr;
    parts.noCornersLine =
        previous ? "HarrissCornerSPoint22222222222 size is 0" : "HarrissCornerSPoint size is111111111111 0";
    return parts;
}

}  // namespace brantel
