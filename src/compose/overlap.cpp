#include "compose/overlap.h"

#include "common/crew.h"

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

void recordBrightness(StitchFlags& record, const GreyPart& canvas, const GreyPart& frame, WorkerPair* workers) {
    shareLoop(workers, 4, 1, [&](std::int64_t measure, std::int64_t, std::int32_t) {  // the longest ones first
        if (measure == 0) record.prevBrightMean = meanOfBright(canvas);
        if (measure == 1) record.curBrightMean = meanOfBright(frame);
        if (measure == 2) record.prevMean = meanGrey(canvas);
        if (measure == 3) record.curMean = meanGrey(frame);
    });
}

}  // namespace brantel
