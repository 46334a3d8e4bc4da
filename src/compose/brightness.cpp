#include "compose/brightness.h"

#include "compose/acceptance.h"
#include "compose/grey.h"

namespace brantel {

namespace {

GreyPart greyPart(const Buffer<std::uint8_t>& cut, const ImageDesc& part, Buffer<std::uint8_t>& grey,
                  WorkerPair* workers) {
    makeGrey(cut.data(), part, grey, workers);
    return GreyPart::whole(grey.data(), part.rows, part.cols);
}

}  // namespace

OverlapParts cutOverlap(const Log& log, const Mosaic& mosaic, const std::uint8_t* current,
                        const ImageDesc& frame, std::uint8_t* canvasCut, std::uint8_t* frameCut) {
    // The rows of a canvas may lie further apart than they are long.
    const auto rowPixels = static_cast<std::int32_t>(mosaic.canvas.step[0] / mosaic.canvas.elemSize());
    const ImageDesc canvas{0, frame.channels, mosaic.canvas.rows, rowPixels};
    OverlapParts parts;
    cropOverlapPair(log, mosaic.canvas.data, current, canvas, frame, mosaic.position(), mosaic.offset(),
                    &parts.canvas, &parts.frame, canvasCut, frameCut);
    return parts;
}

void measureBrightness(const Log& log, Mosaic& mosaic, const std::uint8_t* current, const ImageDesc& frame,
                       OverlapBuffers& buffers, WorkerPair* workers) {
    for (Buffer<std::uint8_t>* cut : {&buffers.canvasCut, &buffers.frameCut}) cut->ensure(frame.bytes());
    const OverlapParts parts =
        cutOverlap(log, mosaic, current, frame, buffers.canvasCut.data(), buffers.frameCut.data());
    recordBrightness(mosaic.record, greyPart(buffers.canvasCut, parts.canvas, buffers.canvasGrey, workers),
                     greyPart(buffers.frameCut, parts.frame, buffers.frameGrey, workers), workers);
}

}  // namespace brantel
