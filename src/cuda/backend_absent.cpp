// Stands in for the CUDA backend where the build has no CUDA compiler.
#include "cuda/backend.h"

namespace brantel {

namespace {

/// Finds no device, so no frame ever reaches its steps.
class AbsentEngine final : public Engine {
  public:
    using Engine::Engine;

    bool initJoint(const FrameSetup&, const StitchModes&) override {
        log.streamLine("have no cuda device");
        return false;
    }
    bool uinitJoint() override { return true; }
    bool buffersHoldFrame() override { return false; }
    bool takeFrames(const StitchCall&) override { return false; }
    bool imageMosaicFun() override { return false; }
    bool measureMotion(std::int64_t*) override { return false; }
    bool measureBrightness() override { return false; }
    bool stitchingImageImageblend() override { return false; }
    void keepTemplate() override {}
    void keepAsLastSeen() override {}
};

}  // namespace

std::unique_ptr<Engine> makeCudaEngine(LogSink& sink) {
    return std::make_unique<AbsentEngine>(sink);
}

}  // namespace brantel
