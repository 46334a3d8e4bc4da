// The state of a mosaic whose pixel work is done by a CUDA device.
//
// Lines know some of it by other names: "Coonervalue" is templateFrame, "resiz_One" and "resiz_Two" are the
// two sides' reduced frames, "DescribleSymbol" is their descriptor builders' scratch, "cuda_one_pid" and
// "cuda_two_pid" are the workers.
#pragma once

#include <cstdint>
#include <vector>

#include "common/arena.h"
#include "common/buffer.h"
#include "compose/brightness.h"
#include "compose/distance_map.h"
#include "cuda/memory.h"
#include "engine/engine.h"
#include "registration/features.h"
#include "registration/harris.h"

namespace brantel {

using GreyKernel = void (*)(unsigned char*, int, int, unsigned char*);

/// Where a side's page-locked memory holds what the device found out for a registration, one behind the other.
struct HostImages {
    float* xx;  // smoothed products at half size
    float* yy;
    float* xy;
    std::uint8_t* grey;  // rows x cols and a zeroed row behind it, which descriptors read

    HostImages(float* memory, const ImageDesc& frame, std::int32_t workingScale);
    /// Floats of memory for all of them.
    static std::int64_t sizeFor(const ImageDesc& frame, std::int32_t workingScale);
};

/// One of the two frames of a registration with everything its worker needs; the sides share nothing.
struct CudaSide {
    GreyKernel greyKernel;
    FrameFeatures features;

    DeviceBuffer<std::uint8_t> frame;
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> packed;  // the grey image without its last column, where their number is odd
    DeviceBuffer<std::uint8_t> half;    // the grey image at the size corners are found on
    DeviceBuffer<std::uint8_t>
        crop;  // the part of the grey image that is searched, where it is not all of it
    DeviceBuffer<float> xx;
    DeviceBuffer<float> yy;
    DeviceBuffer<float> xy;
    DeviceBuffer<float> paddedA;
    DeviceBuffer<float> paddedB;

    Arena<PageLockedBuffer<float>>
        arena;  // what was copied to the host, see HostImages; later cuts or a distance map
    SelectionScratch selection;
    Buffer<std::uint8_t> reduced;        // the frame after reduction
    std::vector<std::uint16_t> scratch;  // of the descriptor builder

    explicit CudaSide(GreyKernel kernel) : greyKernel(kernel) {}
    void freeHostArrays();
};

/// One of the two overlap cuts that the brightness test compares.
struct OverlapSide {
    DeviceBuffer<std::uint8_t> colour;
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> padded;    // by 1
    DeviceBuffer<std::uint8_t> smoothed;  // 3 x 3, padded
    Buffer<std::uint8_t> zeroSum;         // the cut's filtered half-size image; no decision looks at it
};

/// One of the two images of the motion test.
struct MotionSide {
    DeviceBuffer<std::uint8_t> grey;
    DeviceBuffer<std::uint8_t> paddedA;  // by 2
    DeviceBuffer<std::uint8_t> paddedB;
};

class CudaEngine final : public Engine {
  public:
    explicit CudaEngine(LogSink& sink);
    ~CudaEngine() override;

    bool initJoint(const FrameSetup& setup, const StitchModes& setupModes) override;
    bool uinitJoint() override;

    ImageDesc previousDesc{};
    ImageDesc currentDesc{};

    CudaSide previousSide;
    CudaSide currentSide;
    Buffer<std::uint8_t> templateFrame;  // host copy of the template of the next call
    /// previousSide.frame holds the template, too, so that a continuing call need not bring it there. Blending
    /// makes the template in that buffer; whoever puts something else there clears this first.
    bool templateOnDevice = false;

    PageLockedBuffer<std::uint8_t>
        stagedCurrent;                           // the current frame at working size, for the brightness test
    PageLockedBuffer<std::uint8_t> stagedPatch;  // the canvas cut, then the blended frame
    DeviceBuffer<std::uint8_t> blended;
    OverlapSide overlapPrevious;
    OverlapSide overlapCurrent;
    DeviceBuffer<float> maskA;
    DeviceBuffer<float> maskB;
    DistanceMap distances;
    /// Distances of a full frame to its edge, which depend on its size alone: made for the first frame of a size.
    DeviceBuffer<float> edgeDistances;
    std::int32_t edgeRows = 0;  // of the frames that they are for
    std::int32_t edgeCols = 0;
    DeviceBuffer<std::uint8_t> weights;
    DeviceBuffer<std::uint8_t> lastFrame;  // the last frame seen, reference of the motion test
    MotionSide motionPrevious;
    MotionSide motionCurrent;

    bool buffersHoldFrame() override;
    bool stitchingImageOffset(const StitchCall& call) override;
    bool takeFrames(const StitchCall& call) override;
    bool imageMosaicFun() override;
    bool judge() override;
    bool measureMotion(std::int64_t* motionMeasure) override;
    bool measureBrightness() override;
    bool stitchingImageImageblend() override;
    void keepTemplate() override;
    void keepAsLastSeen() override;

    // Parts of these steps, open for the same reason. They throw DeviceError when a CUDA call fails.

    /// Fills side.features from side.frame. Corners are appended.
    void describeSide(CudaSide& side) const;
    /// Weight of image A against image B, which has no zero sample, for every pixel. 0, with "ptr is null", for a null
    /// image, else 1.
    std::uint8_t seamBlend(std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows, std::int32_t cols,
                           std::int32_t channels, std::uint8_t* weightImage);

  private:
    void takeSetup(const FrameSetup& setup);
    bool allocateHostArrays();
    void allocateDeviceBuffers();
    void allocatePageLockedMaps();
    void keepFirstError(cudaError_t code);
    void tryDevice() const;
    void takeDown();
    void freeBuffers();
    bool allocateReduced(CudaSide& side, const char* failLine) const;
    void stageFrame(const std::uint8_t* from, std::int32_t scale, CudaSide& side, std::uint8_t* staged) const;
    bool beginMosaic(const StitchCall& call);
    void recallTemplate();
    bool detectCorners(CudaSide& side, std::uint8_t* image) const;
    bool detectCornersInRowRange(CudaSide& side, std::uint8_t* grey) const;
    void makeMasks(std::uint8_t* imageA, std::uint8_t* imageB, std::int32_t rows, std::int32_t cols,
                   std::int32_t channels) const;
    void ensureEdgeDistances(std::int32_t rows, std::int32_t cols);
    void cutWindow(const CanvasWindow& window, std::uint8_t* patch);
    void pasteAndKeep(const std::uint8_t* patch, const CanvasWindow& window);
    void blendPatch(std::uint8_t* patch);
    void beginZeroSum(const OverlapParts& parts);
    void filterOverlap();
    bool finishZeroSum();
    void requireZeroSum();
    void describePrevious();
    bool begins() const { return mosaic.templateState == TemplateState::first; }

    bool usesDevice_ = false;                    // there may be something to free on it
    cudaError_t allocationError_ = cudaSuccess;  // the first one of the last initialisation

    /// The match worker's job between the brightness test and the blend.
    struct ZeroSumJob {
        CudaEngine& engine;
        OverlapParts parts;
        bool running = false;
        void operator()() { engine.filterOverlap(); }
    } zeroSum_{*this, {}};
};

}  // namespace brantel
