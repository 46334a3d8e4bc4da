#include "stitch/table.h"

#include <cstdio>

#include "pictures/picture_bytes.h"

namespace brantel::programs {

namespace {

std::string row(const std::string& title, const std::string& value) {
    constexpr std::size_t width = 17;
    return title + std::string(title.size() < width ? width - title.size() : 1, ' ') + value + "\n";
}

std::string oneDecimal(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string placedText(const Tally& tally) {
    const std::size_t later = tally.placedLater();
    const std::string placed = std::to_string(tally.placed());
    return later == 0 ? placed : placed + "  (" + std::to_string(later) + " waited for others to join them)";
}

std::string refusedText(const Tally& tally) {
    const std::string reasons = tally.refusalsText();
    return std::to_string(tally.refused()) + (reasons.empty() ? "" : "  (" + reasons + ")");
}

}  // namespace

std::string table(const Tally& tally, const RunSummary& summary) {
    const OffsetErrors& errors = tally.offsetErrors();
    std::string text = row("frames", std::to_string(tally.frames()));
    text += row("placed", placedText(tally));
    if (tally.skipped() > 0)
        text += row("skipped", std::to_string(tally.skipped()) +
                                   "  (shift below 10 %: the next frame is measured "
                                   "against the same one)");
    text += row("refused", refusedText(tally));
    if (summary.dropped > 0)
        text +=
            row("dropped", std::to_string(summary.dropped) + "  (the camera was faster than the program)");
    if (summary.positionsKnown)
        text += row("offsets", std::to_string(errors.exact) + " of " + std::to_string(errors.compared) +
                                   " exactly as expected, largest difference " +
                                   std::to_string(errors.largest) + " px");
    if (tally.range()) text += row("range", nameOf(*tally.range()) + " became 1 to 255");
    text += row("frames/second", oneDecimal(framesPerSecond(tally, summary)) +
                                     " with reading and writing the files, " +
                                     oneDecimal(tally.libraryFramesPerSecond()) + " in the library");
    for (const SavedMosaic& mosaic : summary.mosaics)
        text += row("mosaic", mosaic.file + "  " + sizeText(mosaic.size) + " px, " +
                                  std::to_string(mosaic.frames) + " frames");
    return text;
}

}  // namespace brantel::programs
