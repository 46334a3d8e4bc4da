#include "stitch/advice.h"

#include <cstdio>

namespace brantel::programs {

namespace {

constexpr std::int32_t moreCorners = 16;  // a density
constexpr std::int32_t smallestFrameSide = 82;

bool expectationGiven(const Options& options) {
    return !options.positions.empty() || options.grid || options.expected;
}

/// "; try A, B or C"; otherwise what is to be said when there is nothing to try.
std::string tryOneOf(const std::vector<std::string>& ways, const std::string& otherwise) {
    if (ways.empty()) return "; " + otherwise;
    std::string text = "; try ";
    for (std::size_t k = 0; k < ways.size(); ++k)
        text += (k == 0 ? "" : k + 1 == ways.size() ? ", or " : ", ") + ways[k];
    return text;
}

bool measuredPlacesGiven(const Options& options) {
    return !options.positions.empty() || options.grid;
}

std::string adviceForLost(const Options& options) {
    std::vector<std::string> ways;
    if (!options.session.search) ways.emplace_back("without --no-search");
    if (options.session.densityLevel < moreCorners)
        ways.push_back("--density " + std::to_string(moreCorners));
    if (!expectationGiven(options))
        ways.emplace_back("--positions or --grid if you know where the frames lie");
    if (options.onLost == OnLost::skip) ways.emplace_back("--on-lost restart, which begins another mosaic");
    return "it must overlap with the frame placed before by a quarter or more" +
           tryOneOf(ways, "take the frames with more overlap");
}

/// With search.
std::string adviceForLoner(const Options& options) {
    std::vector<std::string> ways;
    if (!expectationGiven(options))
        ways.emplace_back("--positions or --grid if you know where the frames lie");
    else if (measuredPlacesGiven(options) && !options.session.trustPositions)
        ways.emplace_back("--trust-positions, which places it where it should lie");
    return "it shows too little structure, or overlaps with no other frame by a tenth or more" +
           tryOneOf(ways, "take the frames with more overlap");
}

std::string adviceForMemory(const Options& options) {
    std::vector<std::string> ways;
    if (options.source.reading.channels != Channels::grey) ways.emplace_back("--grey");
    ways.emplace_back("a smaller --limit, by which mosaics end earlier");
    return "memory did not suffice for the frame or for a larger canvas" + tryOneOf(ways, "");
}

std::string countOf(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

std::string adviceForContradiction(const FrameReport& frame) {
    return "the pictures agree where they are, although the camera should have moved by " +
           std::to_string(frame.expected->x) + "," + std::to_string(frame.expected->y) +
           " pixels; cut off what does not move with the object, such as a scale bar, text or dust";
}

std::string adviceForTest(const FrameReport& frame, const Options& options) {
    const bool brightness = frame.reason == Reason::brightness;
    const std::string cause = brightness
                                  ? "the brightness of the overlap differs too much between the two frames"
                                  : "it differs too much from the frame before";
    if (options.session.staticFlag != 0) return cause + "; try without --static";
    return cause + (brightness ? "; even out the light, or try --mode motion" : "; try --mode brightness");
}

std::string pairOf(Shift shift) {
    return std::to_string(shift.x) + "," + std::to_string(shift.y);
}

/// Frames that lie elsewhere than was said.
std::string adviceForPlaces(const Tally& tally) {
    const FrameReport& first = tally.firstContradicting();
    return countOf(tally.contradicting()) + " placed elsewhere than was expected, first " + first.name +
           ": by " + pairOf(*first.offset) + " instead of " + pairOf(*first.expected) +
           " pixels beside frame " + std::to_string(first.joins) + "; the pictures were certain";
}

std::string adviceForAxis(const char* axis, bool flipped) {
    return std::string("the offsets found are mirrored against the expected ones in ") + axis + "; try " +
           (flipped ? "without " : "") + "--flip-" + axis;
}

std::string adviceForRange(const Tally& tally) {
    char text[200];
    std::snprintf(text, sizeof text, "%zu frames are brighter than the range %s; try --range %.6g,%.6g",
                  tally.tooBright(), nameOf(*tally.range()).c_str(), tally.range()->low, tally.brightest());
    return text;
}

/// Why the frame was refused and what may help; "" when nothing is known to help.
std::string adviceFor(const FrameReport& frame, const Options& options) {
    switch (frame.reason) {
        case Reason::tooFewCorners:
            return "it shows too little structure, or is smaller than " + std::to_string(smallestFrameSide) +
                   " x " + std::to_string(smallestFrameSide) + "; see whether it is blank or out of focus";
        case Reason::tooFewMatches:
            return adviceForLost(options);
        case Reason::nothingJoins:
        case Reason::noRoomToWait:
            return adviceForLoner(options);
        case Reason::shiftTooLarge:
            return "it hardly overlaps with the frame placed before; take the frames with more overlap" +
                   std::string(options.onLost == OnLost::skip ? ", or try --on-lost restart" : "");
        case Reason::contradicted:
            return adviceForContradiction(frame);
        case Reason::outOfMemory:
            return adviceForMemory(options);
        case Reason::brightness:
        case Reason::motion:
            return adviceForTest(frame, options);
        default:
            return "";
    }
}

}  // namespace

std::vector<std::string> hintsFor(const Tally& tally, const Options& options) {
    std::vector<std::string> hints;
    for (const auto& [reason, frames] : tally.examples()) {
        if (frames.empty()) continue;
        const FrameReport& first = frames.begin()->second;
        const std::string advice = adviceFor(first, options);
        if (!advice.empty())
            hints.push_back(countOf(tally.count(reason)) + " refused for " + nameOf(reason) + ", first " +
                            first.name + ": " + advice);
    }
    const bool measured = measuredPlacesGiven(options);
    if (tally.contradicting() > 0) hints.push_back(adviceForPlaces(tally));
    if (measured && tally.agreementX().mirrored()) hints.push_back(adviceForAxis("x", options.flipX));
    if (measured && tally.agreementY().mirrored()) hints.push_back(adviceForAxis("y", options.flipY));
    if (!options.positions.empty() && tally.stitched() > 0 && tally.expected() == 0)
        hints.push_back(options.positions +
                        " has no positions for these frames; see whether the names in its "
                        "column file are theirs");
    if (tally.placed() == 0 && tally.skipped() > 0)
        hints.emplace_back(
            "the frames show the same place, as far as it can be told; the camera has to move by more "
            "than 10 % of a frame");
    if (tally.tooBright() > 0) hints.push_back(adviceForRange(tally));
    return hints;
}

std::string nothingPlaced(const Tally& tally) {
    if (tally.frames() == 0) return "there was no frame, and no mosaic was written";
    std::string why = tally.refusalsText();
    if (tally.skipped() > 0)
        why +=
            (why.empty() ? "" : ", ") + std::to_string(tally.skipped()) + " " + nameOf(Reason::shiftTooSmall);
    const std::string subject = tally.frames() == 1
                                    ? "one frame alone makes no mosaic"
                                    : "no two of " + countOf(tally.frames()) + " could be joined";
    return subject + ", and none was written (" + why + ")";
}

}  // namespace brantel::programs
