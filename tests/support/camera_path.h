// Camera paths over a picture with known truth, and how well a session follows them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/picture.h"
#include "support/session.h"

namespace brantel::test {

/// Top-left pixel of a camera frame in its picture.
struct Spot {
    std::int32_t x;
    std::int32_t y;
};
using Path = std::vector<Spot>;

/// count steps of (dx, dy).
Path straightPath(Spot from, std::int32_t dx, std::int32_t dy, std::int32_t count);
/// Lines of steps across, alternately right and left, one step down between them.
Path serpentinePath(Spot from, std::int32_t dx, std::int32_t dy, std::int32_t across, std::int32_t down);
/// Square spiral outwards with sides of 1, 1, 2, 2, 3, 3 ... steps.
Path spiralPath(Spot from, std::int32_t step, std::int32_t sides);
/// Random even steps of minimum to maximum in a random direction, inside a rectangle of spots.
Path randomPath(Spot from, Spot low, Spot high, std::int32_t minimum, std::int32_t maximum,
                std::int32_t count, std::uint64_t seed);

/// Called on each frame before it goes to the library, with its number.
using Disturb = std::function<void(std::vector<std::uint8_t>&, std::size_t)>;

/// How a session followed a path.
struct FollowReport {
    int placed = 0;      // frames that were merged, the first one included
    int refused = 0;     // calls that returned -1
    int skipped = 0;     // registered, but not merged
    int wrong = 0;       // merged more than 2 pixels beside where the last merged frame says they belong
    int worstError = 0;  // largest such distance per axis, pixels
    /// Largest distance from where the first frame says they belong. It may exceed worstError: the offset is
    /// one match's own, so a step may be 2 pixels off, and the next frame is placed against that one.
    int worstDrift = 0;
    StitchOutputs last;                     // of the last call
    MosaicCorner origin{};                  // where the path's first frame lies on the last canvas now
    std::vector<std::size_t> placedFrames;  // their numbers in the path

    std::string summary() const;
};

/// Stitches picture windows of rows x cols along the path and compares every placement with the truth.
FollowReport follow(Session& session, const Picture& picture, const Path& path, std::int32_t rows,
                    std::int32_t cols, const Disturb& disturb = nullptr);

}  // namespace brantel::test
