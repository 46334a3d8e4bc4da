// The hand-off of a frame pair to the workers and the estimation of its offset, the same for all backends.
#pragma once

#include <brantel/brantel.h>

#include "common/worker_pair.h"
#include "registration/consensus.h"

namespace brantel {

/// The end of a worker's job: describes the corners that it found in a grey frame (rows x cols and a zeroed
/// row behind it). scratch is the descriptor builder's. Idle workers lend a hand; may be null.
void describeCorners(FrameFeatures& features, const std::uint8_t* grey, std::int32_t rows, std::int32_t cols,
                     std::vector<std::uint16_t>& scratch, WorkerPair* workers = nullptr);

/// Empties both corner lists (their storage stays), does both jobs at the same time with the workers, and
/// estimates the offset from the features they leave. Writes offset and match count into the record as
/// estimateOffset does; the workers lend a hand there too. False when a worker does not run, a job failed or
/// the frames cannot be registered.
bool registerFrames(WorkerPair& workers, Job modelJob, Job matchJob, FrameFeatures& previous,
                    FrameFeatures& current, std::int32_t rows, std::int32_t cols, StitchFlags& record,
                    EstimationScratch& scratch);

/// The same with a previous frame whose features are known. The workers are idle during the job.
bool registerFrame(WorkerPair& workers, Job matchJob, FrameFeatures& previous, FrameFeatures& current,
                   std::int32_t rows, std::int32_t cols, StitchFlags& record, EstimationScratch& scratch);

}  // namespace brantel
