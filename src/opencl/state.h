// The state of a mosaic whose pixel work is a GPU's, through OpenCL.
#pragma once

#include <cstdint>
#include <vector>

#include "common/buffer.h"
#include "compose/distance_map.h"
#include "engine/engine.h"
#include "opencl/device.h"
#include "opencl/side_parts.h"
#include "registration/harris.h"

namespace brantel {

/// One of the two frames of a registration with everything its worker needs; the sides share nothing.
struct OpenclSide {
    FrameRole role;
    SideParts parts;
    FrameFeatures features;
    Buffer<std::uint8_t> reduced;  // the frame at working size
    Buffer<std::uint8_t> grey;     // rows x cols and a zeroed row behind it, which descriptors read
    Buffer<float> xx;              // gradient products at half size
    Buffer<float> yy;
    Buffer<float> xy;
    SelectionScratch selection;
    std::vector<std::uint16_t> scratch;  // of the descriptor builder
    BufferTable::Entry evenGrey;         // on the device: the grey image without the odd last column
    bool rowRangeCleared = false;        // the row range's buffer has known contents

    explicit OpenclSide(FrameRole r) : role(r), parts(partsOf(r)) {}
    void reset() { *this = OpenclSide(role); }
};

/// One of the two overlap cuts that the brightness test compares.
struct OverlapCut {
    Buffer<std::uint8_t> cut;
    Buffer<std::uint8_t> grey;
    Buffer<std::uint8_t> zeroSum;  // the cut's filtered half-size image; no decision looks at it

    void reset() { *this = OverlapCut{}; }
};

/// Packed copies and masks of the seam between canvas and frame.
struct SeamImages {
    Buffer<std::uint8_t> canvasCut;
    Buffer<float> canvasMask;  // later the distances
    Buffer<float> frameMask;
    DistanceMap distances;
};

class OpenclEngine final : public Engine {
  public:
    explicit OpenclEngine(LogSink& sink);
    /// Releases what uinitJoint was not called for, silently.
    ~OpenclEngine() override;

    bool initJoint(const FrameSetup& setup, const StitchModes& setupModes) override;
    bool uinitJoint() override;

    ClDevice device{log};
    ImageDesc previousDesc{};  // the frames as the host hands them over, for each side
    ImageDesc currentDesc{};
    ImageDesc pair{};  // the frames that the workers are on
    Extent half{};     // the size at which their corners are found
    OpenclSide previousSide{FrameRole::previous};
    OpenclSide currentSide{FrameRole::current};
    Buffer<std::uint8_t> templateFrame;  // what the next frame is registered against
    Buffer<std::uint8_t> lastSeen;       // reference of the motion test
    SeamImages seam;
    OverlapCut overlapPrevious;
    OverlapCut overlapCurrent;

    // The same state under this backend's own names. Width is initJoint's first argument there, the rows, and
    // height its second, the columns; everywhere else in this folder rows are rows. Not here are the flags of
    // the threads, which belong to their hand-off: of workers.model and workers.match, Shared::run is
    // clModelThreadRun and clMatchThreadRun, Shared::requested is clModelWork and clMatchWork, and having a
    // thread to join is clModelThreadStarted and clMatchThreadStarted. clStatus is the status within
    // runKernel, one for each thread.
    std::int32_t& clScale = tuning.reductionFactor;
    std::int32_t& clCornerParam = tuning.densityLevel;
    std::int32_t& clMaxCornerNum = tuning.budget;
    std::int32_t& clMaxCandidateNum = tuning.cap;
    std::int32_t& clDownFactor = tuning.workingScale;
    std::int32_t& clCanvasLimitA = limitA;
    std::int32_t& clCanvasLimitB = limitB;
    std::int32_t& clFrameWidth = currentDesc.rows;
    std::int32_t& clFrameHeight = currentDesc.cols;
    std::int32_t& clFrameChannels = currentDesc.channels;
    std::int32_t& clScaledWidth = frame.rows;
    std::int32_t& clScaledHeight = frame.cols;
    std::int32_t& clHalfWidth = half.rows;
    std::int32_t& clHalfHeight = half.cols;
    std::int32_t& clWorkWidth = pair.rows;
    std::int32_t& clWorkHeight = pair.cols;
    std::int32_t& clWorkChannels = pair.channels;
    std::int32_t& clRowRangeArgA = expected.x;
    std::int32_t& clRowRangeArgB = expected.y;
    bool& clRowRangeMode = expected.use;
    Buffer<std::uint8_t>& clFrameCopyA = templateFrame;
    Buffer<std::uint8_t>& clFrameCopyB = currentSide.reduced;

    bool buffersHoldFrame() override;
    bool stitchingImageOffset(const StitchCall& call) override;
    bool takeFrames(const StitchCall& call) override;
    bool imageMosaicFun() override;
    bool judge() override;
    bool measureMotion(std::int64_t* motion) override;
    bool measureBrightness() override;
    bool stitchingImageImageblend() override;
    void keepTemplate() override;
    void keepAsLastSeen() override;

  private:
    void releaseDeviceObjects();
    bool createDeviceObjects();
    void freeHostArrays();
    bool begins() const { return mosaic.templateState == TemplateState::first; }

    bool prejudgeBoth(const StitchCall& call);
    bool describeSide(OpenclSide& side, Worker& worker) const;
    bool fuse(std::uint8_t* canvasCut);
    bool greyOfCuts(const ImageDesc& part);
    bool filterCuts(const ImageDesc& part);
};

}  // namespace brantel
