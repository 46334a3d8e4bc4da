// The CPU backend: one mosaic per process, held in one state.
#pragma once

#include <array>
#include <cstdint>

#include "common/stitch_call.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"
#include "compose/seam.h"
#include "cpu/brightness.h"
#include "cpu/feature_job.h"
#include "cpu/motion.h"

namespace brantel {

/// 12-bit grey weights per channel. Part of the state; every grey conversion uses decimal weights instead.
struct GreyTables {
    std::array<std::int32_t, 256> t_r;
    std::array<std::int32_t, 256> t_g;
    std::array<std::int32_t, 256> t_b;

    GreyTables();
};

/// The features of the template outlive the call: as long as it does not change they need not be found again.
struct TemplateFeatures {
    bool valid = false;  // previousSide.features belong to the template
    ExpectedShift expected;

    bool serve(const ExpectedShift& wanted) const {
        return valid && wanted.use == expected.use &&
               (!wanted.use || (wanted.x == expected.x && wanted.y == expected.y));
    }
};

struct CpuBackend {
    bool ready = false;
    FrameSize frame{};  // working size: the frame divided by scaleDivisor
    CornerTuning tuning;
    std::int32_t limitA = 20000;
    std::int32_t limitB = 20000;
    ImageDesc previousDesc{};
    ImageDesc currentDesc{};
    GreyTables greyTables;
    ExpectedShift expected;
    Mosaic mosaic;

    /// Bytes of the frames that the first initialisation made room for; a second one keeps them.
    std::int64_t frameCapacity = 0;
    /// Template of the next call. Only its grey image is ever looked at, so only that is kept, with a zeroed
    /// row behind it.
    Buffer<std::uint8_t> previousStore;
    Buffer<std::uint8_t> previousWorking;  // a new mosaic's first frame after reduction
    Buffer<std::uint8_t> currentWorking;   // the current frame after reduction
    MotionReference motion;

    FeatureSide previousSide{FrameRole::previous};  // its grey image: the first frame of a new mosaic
    FeatureSide currentSide{FrameRole::current};
    TemplateFeatures templateFeatures;
    WorkerPair workers;
    EstimationScratch estimation;
    OverlapScratch overlap;
    SeamScratch seam;

    /// True when the buffers of the first initialisation hold frames of the present size.
    bool buffersHoldFrame() const { return frameCapacity >= frame.bytes(); }
    void freeBuffers();
};

/// The one instance. It is never destroyed: worker threads may still wait in it when the process ends.
CpuBackend& cpuBackend();

bool initJointCpu(const FrameSetup& setup);
std::int32_t stichingImagedJointCpu(const StitchCall& call);
bool uinitJointCpu();

/// One call's frames at working size.
struct CallFrames {
    const std::uint8_t* first;  // the first frame of a new mosaic, else null
    const std::uint8_t* current;
};

/// Prepares the frames, starts the mosaic of a continue flag of 0, estimates the shift and judges the frame.
bool stitchingImageOffset(CpuBackend& cpu, const StitchCall& call, CallFrames* frames);

/// Blends the current frame into the canvas; the blend becomes the template of the next call.
bool stitchingImageImageblend(CpuBackend& cpu, const CallFrames& frames);

/// Hands both frames to the workers and estimates the offset from what they find.
bool imageMosaicFun(CpuBackend& cpu, const CallFrames& frames);

}  // namespace brantel
