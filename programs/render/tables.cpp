#include "render/tables.h"

#include <cstdio>

#include "pictures/picture_bytes.h"

namespace brantel::programs {

namespace {

std::string formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string row(const std::string& title, const std::string& value) {
    constexpr std::size_t width = 12;
    return title + std::string(title.size() < width ? width - title.size() : 1, ' ') + value + "\n";
}

/// Quoted where it has to be.
std::string field(const std::string& text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string framesText(const ScanFrames& scan, const render::ScanSolution& solution, std::size_t lost) {
    std::size_t found = 0;
    std::size_t known = 0;
    for (const render::SolvedFrame& frame : solution.frames)
        if (frame.picture > 0) ++(frame.evidence > 0 ? found : known);
    std::string text = std::to_string(found) + " placed by their pictures";
    const auto add = [&](std::size_t count, const char* what) {
        if (count > 0) text += ", " + std::to_string(count) + " " + what;
    };
    add(known, "kept where they were known to be");
    add(scan.nothingNew, "left out that show nothing new");
    add(scan.placeless, "left out without a place");
    add(lost, "left out that could not be used");
    return text;
}

}  // namespace

std::string positionTable(const std::vector<std::string>& names, const render::ScanSolution& solution,
                          const std::vector<RenderedPicture>& pictures) {
    std::string table = "file,x,y,frame,picture,evidence,gain\n";
    for (std::size_t number = 0; number < solution.frames.size(); ++number) {
        const render::SolvedFrame& frame = solution.frames[number];
        for (const RenderedPicture& picture : pictures) {
            if (picture.number != frame.picture) continue;
            const cv::Point2d at = frame.place - cv::Point2d(picture.origin);
            table += field(names[number]) + "," + formatted("%.3f", at.x) + "," + formatted("%.3f", at.y) +
                     "," + std::to_string(number + 1) + "," + std::to_string(frame.picture) + "," +
                     std::to_string(frame.evidence) + "," + formatted("%.6g", solution.gains[number]) + "\n";
        }
    }
    return table;
}

std::string resultTable(const ScanFrames& scan, const render::ScanSolution& solution,
                        const std::vector<RenderedPicture>& pictures, std::size_t lost) {
    std::string text = row("frames", framesText(scan, solution, lost));
    const render::Agreement& agreement = solution.agreement;
    text += row("pairs", std::to_string(agreement.measured) + " measured of " +
                             std::to_string(agreement.pairs) + " compared, " +
                             std::to_string(agreement.dropped) + " dropped that contradict the others");
    if (agreement.measured > agreement.dropped) {
        text += row("positions", "pairs agree to " + formatted("%.2f", agreement.after) +
                                     " px (root mean square), before to " +
                                     formatted("%.2f", agreement.before) + " px");
        text +=
            row("light", "steps where frames overlap " + formatted("%.2f", 100 * agreement.seamsAfter) +
                             " % (median), before " + formatted("%.2f", 100 * agreement.seamsBefore) + " %");
    }
    for (const RenderedPicture& picture : pictures)
        if (!picture.file.empty())
            text += row("picture", picture.file + "  " + sizeText(picture.layout.size) + " px, " +
                                       std::to_string(picture.layout.frames.size()) + " frames");
    return text;
}

}  // namespace brantel::programs
