#include "registration/register_frames.h"

#include <algorithm>

#include "common/crew.h"
#include "common/log.h"
#include "common/tuning.h"
#include "registration/descriptors.h"

namespace brantel {

void describeCorners(FrameFeatures& features, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                     std::vector<std::uint16_t>& scratch, WorkerPair* workers) {
    const auto count = static_cast<std::int64_t>(features.corners.size());
    features.descriptors.ensure(std::max<std::int64_t>(count, 1) * descriptorLength);
    scratch.resize(static_cast<std::size_t>(crewSize) * descriptorLength);
    features.consumed = features.corners;
    buildCornerDescriptors(grey, rows, cols, descriptorLength, descriptorWindow, features.consumed,
                           scratch.data(), features.descriptors.data(), workers);
}

namespace {

bool estimate(WorkerPair& workers, FrameFeatures& previous, FrameFeatures& current, std::int32_t rows,
              std::int32_t cols, StitchFlags& record, EstimationScratch& scratch) {
    Offset offset{record.offset.x, record.offset.y};
    if (!estimateOffset(previous, current, rows, cols, {&offset, &record.matchCount}, scratch, &workers))
        return false;
    record.offset.x = offset.x;
    record.offset.y = offset.y;
    return true;
}

}  // namespace

bool registerFrames(WorkerPair& workers, Job modelJob, Job matchJob, FrameFeatures& previous,
                    FrameFeatures& current, std::int32_t rows, std::int32_t cols, StitchFlags& record,
                    EstimationScratch& scratch) {
    previous.corners.clear();
    current.corners.clear();
    streamLine("imageMosaicFun in");
    return workers.runBoth(modelJob, matchJob) &&
           estimate(workers, previous, current, rows, cols, record, scratch);
}

bool registerFrame(WorkerPair& workers, Job matchJob, FrameFeatures& previous, FrameFeatures& current,
                   std::int32_t rows, std::int32_t cols, StitchFlags& record, EstimationScratch& scratch) {
    current.corners.clear();
    streamLine("imageMosaicFun in");
    return workers.runAlone(matchJob) && estimate(workers, previous, current, rows, cols, record, scratch);
}

}  // namespace brantel
