/// @file brantel.h
/// Live mosaicking: stitches a stream of overlapping camera frames into one growing picture.
///
/// A host calls @ref initJoint once, @ref stichingImagedJoint once per frame and @ref uinitJoint at the end.
/// There is one mosaic per process. All three functions are to be called from one host thread, one call at a
/// time; the library runs two worker threads of its own between initJoint and uinitJoint.
/// No exception leaves these functions.
///
/// Frames are 8-bit, 1 channel (grey) or 3 channels (blue, green, red), rows top to bottom, tightly packed
/// (row length = columns x channels bytes, no padding), all of the size given to initJoint.
///
/// Diagnostics go to standard output, one line per message. Boundary lines go to the debugger
/// (OutputDebugStringA) on Windows; elsewhere they are dropped unless the environment variable
/// BRANTEL_DEBUG_OUTPUT names a file to append them to ("-" is standard error).
#ifndef BRANTEL_BRANTEL_H
#define BRANTEL_BRANTEL_H

#include <cstdint>
#include <opencv2/core/mat.hpp>

#if defined(__GNUC__) && !defined(_WIN32)
#define BRANTEL_API __attribute__((visibility("default")))
#else
#define BRANTEL_API
#endif

/// A pixel position on the mosaic canvas.
struct MosaicCorner {
    std::int32_t x;  ///< column
    std::int32_t y;  ///< row
};

/// What the library found out about the last frame (40 bytes).
struct StitchFlags {
    /// Mean grey level (0 to 255) of the overlap in the previous frame, every second row and column inside a
    /// margin of 2 pixels. NaN when the overlap is too thin to hold a sample. Only measured in main mode 0.
    float prevMean;
    float curMean;         ///< The same for the current frame.
    float prevBrightMean;  ///< Mean of the overlap's samples greater than 10, previous frame; NaN when there
                           ///< is none.
    float curBrightMean;   ///< The same for the current frame.
    std::int32_t matchCount;  ///< Point matches that support the offset; a frame needs more than 10.
    struct {
        std::int32_t x;  ///< columns
        std::int32_t y;  ///< rows
    } offset;  ///< Where the current frame's top-left pixel lies in the previous frame (camera movement),
               ///< pixels. Corners are found on the half-size picture, so both are even (with an expected
               ///< shift: they differ from it by an even number).
    std::int32_t frameX;        ///< Column of the last merged frame's top-left pixel on the canvas.
    std::int32_t frameY;        ///< Row of the last merged frame's top-left pixel on the canvas.
    std::int32_t stitch_flags;  ///< 1: the frame passed the motion or brightness test, else 0. In main mode 0
                                ///< a 1 stays until the next initJoint.
};
static_assert(sizeof(MosaicCorner) == 8 && sizeof(StitchFlags) == 40, "both cross the library boundary");

extern "C" {

/// Chooses a backend (CUDA when there is a device with at least 4096 MiB, else the CPU) and gets it ready.
///
/// The file "stitch.txt" in the current directory may hold one decimal integer; a nonzero one forces the CPU.
/// Reading it closes the process's standard input, once per process: a host that needs standard input reads
/// it before this call.
///
/// A second call without uinitJoint keeps the threads, the buffers and the canvas of the first; frames that
/// do not fit into the kept buffers are refused by stichingImagedJoint. Call uinitJoint between frame sizes.
///
/// @param rows          frame height in pixels, at least 1 (corners need more than 80; below that no frame
///                      can be registered)
/// @param columns       frame width in pixels, at least 1 (the same holds)
/// @param channels      1 (grey) or 3 (blue, green, red)
/// @param densityLevel  corner budget per frame = ((level + 8) * 500) / 16 - 100: 150 for 0, 181 for 1,
///                      400 for 8. More corners find an offset in thinner overlaps and cost time: matching
///                      grows with the square of the budget. A level of -5 or less leaves no corner, so
///                      nothing registers.
/// @param limitA        first factor of the canvas area limit in pixels
/// @param limitB        second factor; the product wraps as a signed 32-bit integer, so keep it below 2^31
/// @param mainMode      0: a frame must pass the brightness test; otherwise the motion test
/// @param staticFlag    nonzero: the strict thresholds (brightness 40 and 30 grey levels, motion 5), for
///                      frames of a standing camera; 0: the wide ones (128, 128 and 255)
/// @return true when the library is ready to stitch; false when the sizes or channels cannot be used, or
///         memory or threads could not be had (the reason is on standard output)
BRANTEL_API bool initJoint(std::int32_t rows, std::int32_t columns, std::int32_t channels,
                           std::int32_t densityLevel, std::int32_t limitA, std::int32_t limitB,
                           std::int32_t mainMode, std::int32_t staticFlag);

/// Registers one frame against the previous one and merges it into the mosaic.
///
/// A frame is merged when more than 10 matches agree on its offset, the larger component of the offset lies
/// strictly between 10 % and 90 % of the frame's side in that direction, and the test of the main mode
/// passed. A frame that shifts less than 10 % is not merged and does not become the new reference: the next
/// frame is measured against the same one, so slow streams work without any care of the host.
///
/// @param firstFrame   the frame that starts a new mosaic; only read when @p continueFlag is 0.
///                     rows x columns x channels bytes, owned by the caller. Zero samples are overwritten
///                     with 1 in place, since 0 on the canvas means "empty".
/// @param currentFrame the frame to stitch, same size; read during the call only. Null gives -1.
/// @param continueFlag 0: start a new mosaic, firstFrame at the centre of a new canvas (the old canvas lives
///                     on as long as the host holds it); nonzero: go on with the mosaic there is
/// @param scale        1. Any other value reduces the incoming frames by this integer factor into buffers of
///                     full size, which leaves the rest of them black; kept for hosts that rely on it.
/// @param expectedX    expected column shift of this frame against the previous one, as StitchFlags::offset
///                     has it; used when @p useExpected is true
/// @param expectedY    expected row shift, with the sign turned round when @p expectedX is negative: for an
///                     expected offset (dx, dy) pass (dx, dx < 0 ? -dy : dy). This rule of the interface is
///                     deliberate.
/// @param useExpected  true: look for corners only where the frames overlap under the expected shift
/// @param minCorner    out: top-left corner of the rectangle that holds all frames placed so far
/// @param maxCorner    out: one past its bottom-right corner
/// @param mosaic       out: receives a header of the canvas (CV_8UC1 or CV_8UC3). The pixels are shared with
///                     the library: later calls write into them, also after the canvas grew, which it does by
///                     one frame's height or width. Once it grew to the left or right, its rows may lie
///                     further apart than they are long: go by the header's step or ask isContinuous(). A
///                     header that is kept keeps its size and its place and stays readable, also after
///                     uinitJoint, but may show later pixels: clone it to keep a state. Do not write into it.
/// @param flags        out: the result record
///
/// Every out pointer may be null; the outputs are written on every result, also -1.
///
/// @return -1: not stitched. The mosaic so far, the canvas and the previous frame are unchanged, and the same
///         frame may be tried again. A call with continueFlag 0 may have begun a new mosaic all the same:
///         - Both frames could be taken, but not be registered against each other: the new mosaic has begun
///           and holds the first frame, the old one is gone. Nothing can be registered to it yet; start again
///           with 0.
///         - Anything else (a null frame, frames that do not fit the buffers, no memory, a thread or a device
///           that failed): nothing has begun, and the old mosaic may be gone on with.
///
///         0: merged, or skipped as unsuitable (compare frameX and frameY or the corners to tell).
///         1: as 0, and canvas rows x columns has reached limitA x limitB. The library itself goes on.
BRANTEL_API std::int32_t stichingImagedJoint(std::uint8_t* firstFrame, std::uint8_t* currentFrame,
                                             std::int32_t continueFlag, std::int32_t scale,
                                             std::int32_t expectedX, std::int32_t expectedY, bool useExpected,
                                             MosaicCorner* minCorner, MosaicCorner* maxCorner,
                                             cv::Mat* mosaic, StitchFlags* flags);

/// Stops the worker threads and frees everything but the canvases that the host still holds.
/// May be called in any state; initJoint may follow.
/// @return true
BRANTEL_API bool uinitJoint();
}

#endif
