// Everybody who stitches the same scan.
#pragma once

#include "compare/outcome.h"

namespace brantel::bench {

/// The library through its exports, on the CPU.
Outcome runLibrary(const Scan& scan, const std::string& file, std::int32_t mainMode);
/// The reference's steps in sequence on one thread, with the time of each.
/// A session, which keeps the track; its first frame begins the map and is not timed.
Outcome runSession(const Scan& scan);
Outcome runReference(const Scan& scan, std::int32_t mainMode);
/// A copy of the frame, and of as many bytes of a canvas as well.
Outcome runCopy(const Scan& scan, bool withCanvasWindow);

// What a user would otherwise write on OpenCV, with its default threads.

/// ORB 1000, ratio test, exhaustive consensus: registration only, or with a FeatherBlender that every frame
/// is fed to and that blends after the last.
Outcome runOrb(const Scan& scan, bool blend);
/// phaseCorrelate, whose shift is known up to the frame's size: the four candidates are compared by their
/// correlation in the overlap. Without a window: at 30 % overlap a Hanning window hides what both frames
/// show.
Outcome runPhase(const Scan& scan);
/// Stitcher in its SCANS mode on all frames at once.
Outcome runStitcher(const Scan& scan);

}  // namespace brantel::bench
