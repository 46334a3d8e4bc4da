// One mosaic as an object: what it keeps between calls and the order of one frame's steps. The backends (CPU,
// CUDA, OpenCL) derive from it and fill in what they do in their own way.
#pragma once

#include <cstdint>

#include "common/log.h"
#include "common/tuning.h"
#include "common/worker_pair.h"
#include "compose/mosaic.h"
#include "engine/stitch_call.h"
#include "registration/consensus.h"

namespace brantel {

/// How a step of a frame ended.
enum class StepEnd {
    done,
    refused,    ///< what was to be found is not there, or not good enough
    brokenOff,  ///< a worker or device failed; the mosaic is as it was before
};

/// Nothing of a mosaic's state is shared with another one, so any number of engines may live side by side,
/// each used by one host thread at a time. Lines go to the sink from the host thread and from the workers.
class Engine {
  public:
    explicit Engine(LogSink& sink) : log(sink) {}
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    virtual ~Engine() = default;

    /// Gets ready for frames of a kind that framesAreUsable() accepts. A second call keeps threads, buffers
    /// and canvas. False, with a line, when something cannot be had.
    virtual bool initJoint(const FrameSetup& setup, const StitchModes& modes) = 0;
    /// Ends the workers and frees everything. True in any state; what was not there is reported as "failed".
    virtual bool uinitJoint() = 0;
    /// One frame: registers it and merges it if it is suitable. -1, 0 or 1 as documented in brantel.h. Never
    /// throws.
    std::int32_t stichingImagedJoint(const StitchCall& call);
    /// The same without its outputs and its result, and with the exceptions of its steps.
    StepEnd stitchFrame(const StitchCall& call);

    const Log log;
    StitchModes modes;
    bool ready = false;
    ImageDesc frame{};  // working size of the frames
    CornerTuning tuning;
    std::int32_t limitA = 0;  // factors of the canvas area limit
    std::int32_t limitB = 0;
    ExpectedShift expected;      // of the present call
    ExpectedShift describedFor;  // what the template's features are for while it is described
    Mosaic mosaic;
    WorkerPair workers{log};
    EstimationScratch estimation;

    // The steps of a frame, in their order, open so that each can be tried by itself. A step that returns false ends the
    // call with -1.

    /// True when the buffers that an earlier initialisation made hold frames of the present size.
    virtual bool buffersHoldFrame() = 0;
    /// Checks the call and runs the steps up to the judgement.
    virtual bool stitchingImageOffset(const StitchCall& call);
    /// Brings both frames to working size; a call that begins a mosaic starts it here, else the template is
    /// recalled.
    virtual bool takeFrames(const StitchCall& call) = 0;
    /// Finds the features of both frames and estimates the offset from them.
    virtual bool imageMosaicFun() = 0;
    /// The acceptance test of the main mode: sets the record's stitch_flags.
    virtual bool judge();
    virtual bool measureMotion(std::int64_t* motion) = 0;
    virtual bool measureBrightness() = 0;
    /// Blends the current frame into the canvas; the blended frame becomes the template.
    virtual bool stitchingImageImageblend() = 0;
    /// A frame that was registered and passed its test, but shifted too little or too far, is passed over:
    /// which frame is the template of the next call is each backend's own rule.
    virtual void keepTemplate() = 0;
    /// The current frame becomes the reference of the next motion test.
    virtual void keepAsLastSeen() = 0;
    /// The call is over and its outputs are written: the workers may prepare the next one until it comes.
    virtual void useIdleTime() {}

  protected:
    /// What imageMosaicFun ends in: empties both corner lists (their storage stays), does both jobs at the
    /// same time with the workers, and estimates the offset from the features they leave. Writes offset and
    /// match count into found as estimateOffset does. False when a worker does not run, a job failed (both
    /// break the call off) or the frames cannot be registered.
    bool registerFrames(Job modelJob, Job matchJob, FrameFeatures& previous, FrameFeatures& current,
                        StitchFlags& found);
    /// The same with a previous frame whose features are known. The workers are idle during the job.
    bool registerFrame(Job matchJob, const FrameFeatures& previous, FrameFeatures& current,
                       StitchFlags& found);

    /// True when the template's features are at hand for the shift that this call expects.
    bool templateServes() const;
    /// The template's features were found for the shift that this call expects: they are kept until it changes.
    void templateIsDescribed();
    /// Around describing the template once more. Features that were found are kept, unless there are none: a template
    /// without corners is described each time, since it has something to say about that.
    template <class Describe>
    void describeTemplate(const FrameFeatures& features, Describe&& describe) {
        TemplateState& state = mosaic.templateState;
        if (state == TemplateState::described) state = TemplateState::placed;
        describe();
        if (state == TemplateState::placed && !features.corners.empty()) templateIsDescribed();
    }

    /// To be called by a step whose device failed: the mosaic is put back as it was before the call.
    void breakOff() { brokeOff_ = true; }

    bool brokeOff_ = false;

  private:
    bool mergeIfSuitable();
    bool estimate(const FrameFeatures& previous, const FrameFeatures& current, StitchFlags& found);
    std::int32_t mergeableShift() const;
    void writeOutputs(const StitchCall& call) const;
    std::int32_t areaResult() const;
};

}  // namespace brantel
