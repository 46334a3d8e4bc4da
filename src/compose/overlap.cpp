#include "compose/overlap.h"

#include "compose/judgement.h"

namespace brantel {

OverlapParts cutOverlap(const Mosaic& mosaic, const std::uint8_t* current, const FrameSize& frame,
                        Buffer<std::uint8_t>& canvasCut, Buffer<std::uint8_t>& frameCut) {
    canvasCut.ensure(frame.bytes());
    frameCut.ensure(frame.bytes());
    const ImageDesc canvas{0, frame.channels, mosaic.canvas.rows, mosaic.canvas.cols};
    const ImageDesc frameDesc{0, frame.channels, frame.rows, frame.cols};
    OverlapParts parts;
    cropOverlapPair(mosaic.canvas.data, current, canvas, frameDesc, mosaic.position(), mosaic.offset(),
                    &parts.canvas, &parts.frame, canvasCut.data(), frameCut.data());
    return parts;
}

void recordBrightness(StitchFlags& record, const std::uint8_t* canvasGrey, const std::uint8_t* frameGrey,
                      const OverlapParts& parts) {
    record.prevMean = meanGrey(canvasGrey, parts.canvas.rows, parts.canvas.cols);
    record.curMean = meanGrey(frameGrey, parts.frame.rows, parts.frame.cols);
    record.prevBrightMean = meanOfBright(canvasGrey, parts.canvas.pixels());
    record.curBrightMean = meanOfBright(frameGrey, parts.frame.pixels());
}

}  // namespace brantel
