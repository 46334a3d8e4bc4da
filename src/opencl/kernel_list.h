// The kernels of cl.bin in the order of their creation: X(name, channel of the failure line, failure line).
// The lines are fixed texts; several name another kernel than the one that failed, deliberately (quirk 18).
// A kernel whose name ends in 2 is the search-match thread's own copy: setting the arguments of one kernel
// object from two threads is a race.
#pragma once

// clang-format off
#define BRANTEL_CL_KERNELS(X) \
    X(opencvcopyFilter2DBorderRowUhcarMode,  debugLine,  "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed") \
    X(opencvcopyFilter2DBorderColUcharMode,  debugLine,  "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed") \
    X(opencvFilter2DRowCalcUcharWin5Mode,    debugLine,  "clCreateKernel opencvFilter2DRowCalcFloatWin5ModeKernel failed") \
    X(opencvFilter2DColCalcUcharWin5Mode,    debugLine,  "clCreateKernel opencvFilter2DColCalcFloatWin5ModeKernel failed") \
    X(pretJudgeImageCh3Kernel,               debugLine,  "clCreateKernel pretJudgeCh3Kernel failed") \
    X(pretJudgeImageCh1Kernel,               debugLine,  "clCreateKernel pretJudgeCh1Kernel failed") \
    X(opencvInterLineARResizeDownCh3Kernel,  debugLine,  "clCreateKernel opencvInterLineARResizeCh3Kernel failed") \
    X(opencvInterLineARResizeDownCh1Kernel,  debugLine,  "clCreateKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvInterLineARResizeDownCh1Kernel2, debugLine,  "clCreateKernel opencvInterLineARResizeCh1Kernel failed") \
    X(rgb2GaryKernel,                        debugLine,  "rgb2GaryUcharKernel opencvInterLineARResizeCh1Kernel failed") \
    X(rgb2GaryKernel2,                       debugLine,  "rgb2GaryUcharKernel opencvInterLineARResizeCh1Kernel failed") \
    X(rgb2GaryTwoKernel,                     debugLine,  "rgb2GaryTwoUcharKernel opencvInterLineARResizeCh1Kernel failed") \
    X(rgb2GaryFloatTwoCh3Kernel,             debugLine,  "rgb2GaryFloatTwoCh3Kernel opencvInterLineARResizeCh1Kernel failed") \
    X(rgb2GaryFloatTwoCh1Kernel,             debugLine,  "rgb2GaryFloatTwoCh1Kernel opencvInterLineARResizeCh1Kernel failed") \
    X(findGradSquareCrossTermsKernel,        debugLine,  "findGradCrossTermsKernel opencvInterLineARResizeCh1Kernel failed") \
    X(findGradSquareCrossTermsKernel2,       debugLine,  "findGradSquareCrossTermsKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderRowUchar,      debugLine,  "opencvcopyFilter2DBorderRowUchar opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderColUchar,      debugLine,  "opencvcopyFilter2DBorderColUcharKernel opencvInterLineARResizeCh1Kernel failed") \
    X(absCalcKernel,                         debugLine,  "absCalcUcharKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderRowFloat,      debugLine,  "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderRowFloat2,     debugLine,  "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderColFloat,      debugLine,  "opencvcopyFilter2DBorderRowFloatKernel opencvInterLineARResizeCh1Kernel failed") \
    X(opencvcopyFilter2DBorderColFloat2,     streamLine, "clCreateKernel opencvcopyFilter2DBorderColFloatKernel failed") \
    X(opencvFilter2DRowCalcFloatWin5,        streamLine, "clCreateKernel opencvFilter2DRowCalcFloatWin5 failed") \
    X(opencvFilter2DRowCalcFloatWin52,       streamLine, "clCreateKernel opencvFilter2DRowCalcFloatWin5 failed") \
    X(opencvFilter2DColCalcFloatWin5,        streamLine, "clCreateKernel opencvFilter2DColCalcFloatWin5Kernel failed") \
    X(opencvFilter2DColCalcFloatWin52,       streamLine, "clCreateKernel opencvFilter2DColCalcFloatWin5Kernel failed") \
    X(opencvcopyFilter2DTakeOutBoundFloat,   streamLine, "clCreateKernel opencvcopyFilter2DTakeOutBoundFloatKernel failed") \
    X(opencvcopyFilter2DTakeOutBoundFloat2,  streamLine, "clCreateKernel opencvcopyFilter2DTakeOutBoundFloatKernel failed") \
    X(opencvfilter2DCalcCharWin3Kernel,      streamLine, "clCreateKernel opencvfilter2DCalcCharWin3Kernel failed") \
    X(opencvcopyFilter2DTakeOutBoundUchar,   streamLine, "clCreateKernel opencvfilter2DCalcCharWin3Kernel failed") \
    X(getFusionImageKernelCh3,               streamLine, "clCreateKernel getFusionImageCh3Kernel failed") \
    X(getFusionImageKernelCh1,               streamLine, "clCreateKernel getFusionImageCh1Kernel failed") \
    X(getRowRange,                           streamLine, "clCreateKernel getRowRangeKernel failed") \
    X(getRowRange2,                          streamLine, "clCreateKernel getRowRange2Kernel failed") \
    X(getWeightImageKernel,                  streamLine, "clCreateKernel getWeightImageClKernel failed")
// clang-format on
