#include "pictures/stack_plan.h"

#include <algorithm>
#include <charconv>

namespace brantel::programs {

namespace {

/// How many there are of each, and in which order the pages go through them, fastest first.
struct Dimensions {
    std::size_t channels = 1;
    std::size_t planes = 1;
    std::size_t times = 1;
    std::size_t series = 1;
    std::string order = "CZT";
};

std::size_t numberAfter(const std::string& text, const std::string& key, std::size_t otherwise) {
    const std::size_t at = text.find(key);
    if (at == std::string::npos) return otherwise;
    std::size_t value = 0;
    const char* from = text.data() + at + key.size();
    const auto [end, error] = std::from_chars(from, text.data() + text.size(), value);
    return error == std::errc() && value > 0 ? value : otherwise;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

Dimensions fromOme(const std::string& xml, std::size_t samplesPerPixel) {
    Dimensions found;
    found.channels = std::max<std::size_t>(1, numberAfter(xml, "SizeC=\"", 1) / samplesPerPixel);
    found.planes = numberAfter(xml, "SizeZ=\"", 1);
    found.times = numberAfter(xml, "SizeT=\"", 1);
    found.series = std::max<std::size_t>(1, occurrences(xml, "<Image "));
    const std::string key = "DimensionOrder=\"XY";
    const std::size_t at = xml.find(key);
    if (at != std::string::npos && at + key.size() + 3 <= xml.size())
        found.order = xml.substr(at + key.size(), 3);
    return found;
}

Dimensions fromImageJ(const std::string& lines) {
    Dimensions found;
    found.channels = numberAfter(lines, "\nchannels=", 1);
    found.planes = numberAfter(lines, "\nslices=", 1);
    found.times = numberAfter(lines, "\nframes=", 1);
    return found;
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// Of the dimensions that frames can lie along, the slowest is taken: series, times, then focus planes. All
/// faster ones are several views of a place.
StackPlan planFor(const Dimensions& found) {
    StackPlan plan;
    std::string views;
    const auto addView = [&](std::size_t count, const char* one, const char* many) {
        if (count > 1) views += (views.empty() ? "" : " and ") + counted(count, one, many);
    };
    addView(found.channels, "channel", "channels");
    const bool planesAreViews = found.times > 1 || found.series > 1;
    if (planesAreViews) addView(found.planes, "focus plane", "focus planes");
    plan.count = found.series * found.times;
    if (!planesAreViews) plan.count = found.planes;
    const char frames = planesAreViews ? 'T' : 'Z';
    for (const char dimension : found.order) {
        if (dimension == frames) break;
        plan.step *= dimension == 'C' ? found.channels : dimension == 'Z' ? found.planes : found.times;
    }
    plan.what = views + " of " + counted(plan.count, "place", "places");
    return plan;
}

}  // namespace

std::optional<StackPlan> planOf(const std::string& description, std::size_t pages,
                                std::size_t samplesPerPixel) {
    if (pages < 2) return std::nullopt;
    Dimensions found;
    if (description.find("<OME") != std::string::npos)
        found = fromOme(description, std::max<std::size_t>(1, samplesPerPixel));
    else if (description.rfind("ImageJ=", 0) == 0)
        found = fromImageJ(description);
    const bool severalViews =
        found.channels > 1 || (found.planes > 1 && (found.times > 1 || found.series > 1));
    return severalViews ? std::optional<StackPlan>(planFor(found)) : std::nullopt;
}

std::size_t picturesWithoutPages(const std::string& description, std::size_t pages) {
    if (pages != 1 || description.rfind("ImageJ=", 0) != 0) return 0;
    const std::size_t pictures = numberAfter(description, "\nimages=", 1);
    return pictures > 1 ? pictures : 0;
}

}  // namespace brantel::programs
