// The 41 GPU kernels as CUDA and plain C++ see them. The address of a kernel's host function is its launch
// handle.
#pragma once

#if defined(__CUDACC__)
#define BRANTEL_KERNEL __global__ void
#else
#define BRANTEL_KERNEL void
#endif

BRANTEL_KERNEL rgb2GaryKernel(unsigned char* src, int rows, int cols, unsigned char* dst);
BRANTEL_KERNEL rgb2GaryKernel2(unsigned char* src, int rows, int cols, unsigned char* dst);
BRANTEL_KERNEL rgb2GaryTwoKernel(unsigned char* srcA, unsigned char* srcB, int rows, int cols,
                                 unsigned char* dstA, unsigned char* dstB);
BRANTEL_KERNEL rgb2GaryFloatTwoCh3Kernel(unsigned char* srcA, unsigned char* srcB, int rows, int cols,
                                         float* maskA, float* maskB);
BRANTEL_KERNEL rgb2GaryFloatTwoCh1Kernel(unsigned char* srcA, unsigned char* srcB, int cols, int rows,
                                         float* maskA, float* maskB);
BRANTEL_KERNEL opencvcopyFilter2DBorderRowUchar(unsigned char* src, int rows, int cols, int border,
                                                unsigned char* dst);
BRANTEL_KERNEL opencvcopyFilter2DBorderColUchar(unsigned char* src, int rows, int cols, int border,
                                                unsigned char* dst);
BRANTEL_KERNEL opencvcopyFilter2DBorderRowUhcarMode(unsigned char* src, int rows, int cols, int border,
                                                    unsigned char* dst, unsigned char* dst2);
BRANTEL_KERNEL opencvcopyFilter2DBorderColUcharMode(unsigned char* src, int rows, int cols, int border,
                                                    unsigned char* dst, unsigned char* dst2);
BRANTEL_KERNEL opencvcopyFilter2DBorderRowFloat(float* src, int rows, int cols, int border, float* dst,
                                                float* dst2);
BRANTEL_KERNEL opencvcopyFilter2DBorderRowFloat2(float* src, int rows, int cols, int border, float* dst,
                                                 float* dst2);
BRANTEL_KERNEL opencvcopyFilter2DBorderColFloat(float* src, int rows, int cols, int border, float* dst,
                                                float* dst2);
BRANTEL_KERNEL opencvcopyFilter2DBorderColFloat2(float* src, int rows, int cols, int border, float* dst,
                                                 float* dst2);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundUchar(unsigned char* src, int rows, int cols, int border,
                                                   unsigned char* dst);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundFloat(float* src, int rows, int cols, int border, float* dst);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundFloat2(float* src, int rows, int cols, int border, float* dst);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundColUchar(unsigned char* src, int rows, int cols, int border,
                                                      unsigned char* dst);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundColFloat(float* src, int rows, int cols, int border, float* dst);
BRANTEL_KERNEL opencvcopyFilter2DTakeOutBoundColFloat2(float* src, int rows, int cols, int border,
                                                       float* dst);
BRANTEL_KERNEL opencvFilter2DRowCalcUcharWin5Mode(unsigned char* src, int rows, int cols, unsigned char* dst);
BRANTEL_KERNEL opencvFilter2DColCalcUcharWin5Mode(unsigned char* src, int rows, int cols, unsigned char* dst);
BRANTEL_KERNEL opencvFilter2DRowCalcFloatWin5(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvFilter2DRowCalcFloatWin52(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvFilter2DColCalcFloatWin5(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvFilter2DColCalcFloatWin52(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvFilter2DRowCalcFloatWin5Mode(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvFilter2DColCalcFloatWin5Mode(float* src, int rows, int cols, float* dst);
BRANTEL_KERNEL opencvfilter2DCalcCharWin3Kernel(unsigned char* src, int rows, int cols, unsigned char* dst);
BRANTEL_KERNEL opencvfilter2DColCalcCharWin9Kernel(unsigned char* src, int rows, int cols,
                                                   unsigned char* dst);
BRANTEL_KERNEL opencvInterLineARResizeDownCh1Kernel(unsigned char* src, int dstRows, int dstCols, int factor,
                                                    unsigned char* dst);
BRANTEL_KERNEL opencvInterLineARResizeDownCh1Kernel2(unsigned char* src, int dstRows, int dstCols, int factor,
                                                     unsigned char* dst);
BRANTEL_KERNEL opencvInterLineARResizeDownCh3Kernel(unsigned char* src, int dstRows, int dstCols, int factor,
                                                    unsigned char* dst);
BRANTEL_KERNEL findGradSquareCrossTermsKernel(unsigned char* src, int rows, int cols, float* gxx, float* gyy,
                                              float* gxy);
BRANTEL_KERNEL findGradSquareCrossTermsKernel2(unsigned char* src, int rows, int cols, float* gxx, float* gyy,
                                               float* gxy);
BRANTEL_KERNEL absCalcKernel(unsigned char* a, unsigned char* b, int rows, int cols);
BRANTEL_KERNEL pretJudgeImageCh3Kernel(unsigned char* img, int rows, int cols);
BRANTEL_KERNEL pretJudgeImageCh1Kernel(unsigned char* img, int rows, int cols);
BRANTEL_KERNEL getWeightImageKernel(float* a, float* b, int rows, int cols, unsigned char* weight);
BRANTEL_KERNEL getFusionImageKernelCh3(unsigned char* imgA, unsigned char* imgB, unsigned char* weight,
                                       int rows, int cols, unsigned char* out);
BRANTEL_KERNEL getFusionImageKernelCh1(unsigned char* imgA, unsigned char* imgB, unsigned char* weight,
                                       int rows, int cols, unsigned char* out);
BRANTEL_KERNEL getRowRangeKernel(unsigned char* src, int srcRows, int srcCols, int rows, int cols, int rowOff,
                                 int colOff, unsigned char* dst);
