// A call of an engine that is tried without the exported functions.
#pragma once

#include "engine/engine.h"
#include "support/lines.h"
#include "support/session.h"

namespace brantel::test {

/// A frame stitched by an engine; with a first frame it begins a mosaic.
/// @param lines  out: what was written to standard output meanwhile; may be null
inline StitchOutputs stitchOn(Engine& engine, Frame* first, Frame frame, Lines* lines = nullptr) {
    StitchOutputs out;
    const Lines written = captureLines([&] {
        out.result = engine.stichingImagedJoint({first != nullptr ? first->data() : nullptr,
                                                 frame.data(),
                                                 first != nullptr ? 0 : 1,
                                                 1,
                                                 {},
                                                 &out.minCorner,
                                                 &out.maxCorner,
                                                 &out.mosaic,
                                                 &out.flags});
    });
    if (lines != nullptr) *lines = written;
    return out;
}

}  // namespace brantel::test
