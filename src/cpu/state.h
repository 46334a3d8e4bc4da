// The state of a mosaic on the CPU.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "common/arena.h"
#include "common/buffer.h"
#include "compose/brightness.h"
#include "compose/motion.h"
#include "compose/seam.h"
#include "cpu/idle_work.h"
#include "cpu/map_state.h"
#include "engine/engine.h"
#include "registration/detection.h"
#include "registration/features.h"

namespace brantel {

/// 12-bit grey weights per channel. Part of the state; every grey conversion uses decimal weights instead (quirk 28).
struct GreyTables {
    std::array<std::int32_t, 256> t_r;
    std::array<std::int32_t, 256> t_g;
    std::array<std::int32_t, 256> t_b;

    GreyTables();
};

/// One of the two frames of a registration with everything its worker needs; the sides share nothing.
struct CpuSide {
    FrameRole role;
    FrameFeatures features;
    Buffer<std::uint8_t> grey;  // rows x cols and a zeroed row behind it, which descriptors read
    Buffer<std::uint8_t> crop;
    Buffer<std::uint8_t> reduced;  // the frame after reduction
    HarrisImages images;
    std::vector<std::uint16_t> scratch;  // of the descriptor builder

    explicit CpuSide(FrameRole r) : role(r) {}
    void reset() { *this = CpuSide(role); }
};

class CpuEngine final : public Engine {
  public:
    explicit CpuEngine(LogSink& sink);

    bool initJoint(const FrameSetup& setup, const StitchModes& setupModes) override;
    bool uinitJoint() override;

    ImageDesc previousDesc{};
    ImageDesc currentDesc{};
    GreyTables greyTables;

    /// Bytes of the frames that the first initialisation made room for; a second one keeps them.
    std::int64_t frameCapacity = 0;
    /// Only the template's grey image is ever looked at, so only that is kept, with a zeroed row behind it.
    Buffer<std::uint8_t> templateGrey;
    CpuSide previousSide{FrameRole::previous};  // its grey image: the first frame of a new mosaic, or black
    CpuSide currentSide{FrameRole::current};
    const std::uint8_t* current = nullptr;  // the current frame at working size, within a call
    MotionReference motion;
    OverlapBuffers overlap;
    SeamScratch seam;
    Arena<Buffer<float>> arena;
    IdleWork idle{*this};  // the last one: ended before anything that it uses goes

    bool buffersHoldFrame() override { return frameCapacity >= frame.bytes(); }
    bool takeFrames(const StitchCall& call) override;
    bool imageMosaicFun() override;
    bool measureMotion(std::int64_t* motionMeasure) override;
    bool measureBrightness() override;
    bool stitchingImageImageblend() override;
    void keepTemplate() override;
    void keepAsLastSeen() override;
    void useIdleTime() override { idle.begin(); }

    /// Fills side.features from a grey image with a zeroed row behind it. Corners are appended. help may be null.
    void describeSide(const Log& to, CpuSide& side, const std::uint8_t* grey, const ExpectedShift& shift,
                      const DetectionHelp* help) const;

    // Steps for a host that holds several mosaics and knows from elsewhere where frames may lie. They throw what
    // allocations throw, and the mosaic is then as it was before, as it is when a step is broken off.

    /// Goes on with another mosaic; what was worked on so far is in its place afterwards.
    void exchangeMap(CpuMapState& other) noexcept;
    /// Begins a mosaic with one packed frame, whose zero samples become 1, at the centre of a new canvas.
    bool beginMap(std::uint8_t* first);
    /// The packed frame that the following steps are about; it must stay in place for them. Its grey image is
    /// currentSide.grey.
    void takeCurrent(const std::uint8_t* pixels);
    /// Makes a picture of a frame's size the template: a window of the canvas, which begins there at the pixel at, or a
    /// frame that no canvas holds.
    void takeTemplate(const std::uint8_t* pixels, std::int64_t stride, CornerPoint at);
    /// Looks for the current frame's offset against the template under an expected shift (in the interface's form) and
    /// writes offset and match count into found.
    StepEnd registerCurrent(const ExpectedShift& shift, StitchFlags& found);
    /// Merges the current frame at an offset against the template if it passes the acceptance test; it is the template
    /// then. Refused when it does not pass.
    StepEnd mergeCurrent(Offset offset, std::int32_t matches);

  private:
    void allocateFrames();
    void freeBuffers();
    const std::uint8_t* workingFrame(const std::uint8_t* from, std::int32_t scale,
                                     Buffer<std::uint8_t>& reduced);
    void keepApart(const StitchCall& call);
    bool beginMosaic(const StitchCall& call);
    const std::uint8_t* previousGrey() const;
    void registerAlone();
    void describePrevious();
    bool registerInto(StitchFlags& found);
    void forgetFeatures();
    bool begins() const { return mosaic.templateState == TemplateState::first; }
};

}  // namespace brantel
