// The device buffers in the order of their creation: X(name, kind of size, failure line or null for none).
#pragma once

// clang-format off
#define BRANTEL_CL_BUFFERS(X) \
    X(PreFrameImageGrayCL,          bytes,   "PreFrameImageGrayCL failed") \
    X(CurFrameImageGrayCL,          bytes,   "CurFrameImageGrayCL failed") \
    X(PreFrameImageGrayBoundTempCL, border2, "PreFrameImageGrayBoundTempCL failed") \
    X(CurFrameImageGrayBoundTempCL, border2, "CurFrameImageGrayBoundTempCL failed") \
    X(PreFrameImageGrayBoundCL,     border2, "PreFrameImageGrayBoundCL failed") \
    X(CurFrameImageGrayBoundCL,     border2, "CurFrameImageGrayBoundCL failed") \
    X(gray_pointdownscalClOne,      bytes,   "gray_pointdownscalClOne failed") \
    X(grad_x2ClOne,                 floats,  "grad_x2ClOne failed") \
    X(grad_y2ClOne,                 floats,  "grad_y2ClOne failed") \
    X(grad_xyClOne,                 floats,  "grad_xyClOne failed") \
    X(grad_x2ClTwo,                 floats,  "grad_x2ClTwo failed") \
    X(grad_y2ClTwo,                 floats,  "grad_y2ClTwo failed") \
    X(grad_xyClTwo,                 floats,  "grad_xyClTwo failed") \
    X(modelGrayCL,                  bytes,   nullptr) \
    X(filterTempClOne,              floats,  nullptr) \
    X(filterTemp2ClOne,             floats,  nullptr) \
    X(matchGrayCL,                  bytes,   nullptr) \
    X(filterTempClTwo,              floats,  nullptr) \
    X(filterTemp2ClTwo,             floats,  nullptr) \
    X(gray_pointdownscalClTwo,      bytes,   nullptr) \
    X(mosaicWorkACL,                bytes,   nullptr) \
    X(mosaicWorkBCL,                bytes,   nullptr) \
    X(mosaicWorkCCL,                bytes,   nullptr) \
    X(mosaicWorkDCL,                bytes,   nullptr) \
    X(mosaicBoundTempACL,           border1, nullptr) \
    X(mosaicBoundTempBCL,           border1, nullptr) \
    X(mosaicBoundACL,               border1, nullptr) \
    X(mosaicBoundBCL,               border1, nullptr) \
    X(blendWeightACL,               floats,  nullptr) \
    X(blendWeightBCL,               floats,  nullptr) \
    X(blendByteCL,                  bytes,   nullptr) \
    X(fusionImageCL,                frame,   nullptr) \
    X(rowRangeModelCL,              bytes,   nullptr) \
    X(DestTempImageCL,              bytes,   "DestTempImageCL failed")
// clang-format on
