#include "scan/scan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "scan/random.h"
#include "system/files.h"

namespace brantel::programs {

namespace {

constexpr std::size_t usualWalk = 40;

std::string sizeText(cv::Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::int32_t stepAlong(std::int32_t given, std::int32_t side, double overlap) {
    if (given > 0) return given;
    // Even, as the offsets are that the library finds.
    return std::max(2, static_cast<std::int32_t>(std::lround(side * (1 - overlap) / 2)) * 2);
}

cv::Point inside(cv::Point at, cv::Size room) {
    return {std::clamp(at.x, 0, room.width), std::clamp(at.y, 0, room.height)};
}

cv::Point jittered(cv::Point at, std::int32_t jitter, Random& random) {
    const std::int32_t x = random.between(-jitter, jitter);
    const std::int32_t y = random.between(-jitter, jitter);
    return {at.x + x, at.y + y};
}

std::vector<cv::Point> serpentine(cv::Size room, cv::Size step) {
    std::vector<cv::Point> plan;
    const std::int32_t columns = room.width / step.width + 1;
    for (std::int32_t y = 0, row = 0; y <= room.height; y += step.height, ++row)
        for (std::int32_t i = 0; i < columns; ++i)
            plan.emplace_back((row % 2 == 0 ? i : columns - 1 - i) * step.width, y);
    return plan;
}

std::vector<cv::Point> middleRow(cv::Size room, cv::Size step) {
    std::vector<cv::Point> plan;
    for (std::int32_t x = 0; x <= room.width; x += step.width) plan.emplace_back(x, room.height / 2);
    return plan;
}

/// One step left, right, up or down, and a little sideways; only steps that stay inside are taken.
std::vector<cv::Point> randomWalk(cv::Size room, cv::Size step, std::size_t frames, Random& random) {
    std::vector<cv::Point> plan{{room.width / 2, room.height / 2}};
    constexpr int patience = 1000;  // in a picture of hardly more than one frame no step may fit
    for (int tries = 0; plan.size() < frames && tries < patience; ++tries) {
        const bool horizontal = random.below(2) == 0;
        const std::int32_t sign = random.below(2) == 0 ? 1 : -1;
        const std::int32_t sideways = random.between(-4, 4) * 2;
        const cv::Point move =
            horizontal ? cv::Point(sign * step.width, sideways) : cv::Point(sideways, sign * step.height);
        const cv::Point next = plan.back() + move;
        if (next != inside(next, room)) continue;
        plan.push_back(next);
        tries = 0;
    }
    return plan;
}

/// 1 in the middle, 1 - vignetting in the corners, falling with the square of the distance.
double lightAt(std::int32_t row, std::int32_t col, cv::Size frame, double vignetting) {
    const double x = (2.0 * col - frame.width + 1) / frame.width;
    const double y = (2.0 * row - frame.height + 1) / frame.height;
    return 1 - vignetting * (x * x + y * y) / 2;
}

std::uint8_t toSample(double value) {
    return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

void expose(cv::Mat& frame, double light, const ScanSettings& settings, Random& random) {
    const std::int32_t channels = frame.channels();
    for (std::int32_t row = 0; row < frame.rows; ++row) {
        auto* sample = frame.ptr<std::uint8_t>(row);
        for (std::int32_t col = 0; col < frame.cols; ++col) {
            const double here = light * lightAt(row, col, frame.size(), settings.vignetting);
            for (std::int32_t c = 0; c < channels; ++c, ++sample) {
                const double noise = settings.noise > 0 ? settings.noise * random.normal() : 0;
                *sample = toSample(*sample * here + noise);
            }
        }
    }
}

}  // namespace

std::vector<cv::Point> planScan(cv::Size picture, const ScanSettings& settings) {
    const cv::Size room = picture - settings.frame;
    if (settings.frame.width < 1 || settings.frame.height < 1 || room.width < 0 || room.height < 0)
        throw InputError("a frame of " + sizeText(settings.frame) + " does not fit into a picture of " +
                         sizeText(picture) + "; choose a smaller --frame");
    const cv::Size step{stepAlong(settings.step.width, settings.frame.width, settings.overlap),
                        stepAlong(settings.step.height, settings.frame.height, settings.overlap)};
    Random random(settings.seed);
    std::vector<cv::Point> plan;
    switch (settings.path) {
        case ScanPath::serpentine:
            plan = serpentine(room, step);
            break;
        case ScanPath::row:
            plan = middleRow(room, step);
            break;
        case ScanPath::walk:
            plan = randomWalk(room, step, settings.frames > 0 ? settings.frames : usualWalk, random);
            break;
    }
    if (settings.frames > 0 && plan.size() > settings.frames) plan.resize(settings.frames);
    if (settings.jitter > 0)
        for (cv::Point& at : plan) at = inside(jittered(at, settings.jitter, random), room);
    return plan;
}

cv::Mat cutFrame(const cv::Mat& picture, const ScanSettings& settings, const std::vector<cv::Point>& plan,
                 std::size_t k) {
    cv::Mat frame = picture(cv::Rect(plan.at(k), settings.frame)).clone();
    const double progress =
        plan.size() > 1 ? static_cast<double>(k) / static_cast<double>(plan.size() - 1) : 0;
    const double light = 1 + settings.drift * progress;
    if (light == 1 && settings.noise <= 0 && settings.vignetting == 0) return frame;
    Random random(settings.seed + 0x9E3779B9U * (static_cast<std::uint32_t>(k) + 1));
    expose(frame, light, settings, random);
    return frame;
}

std::string scanFrameName(std::size_t k) {
    char name[40];
    std::snprintf(name, sizeof name, "frame_%04zu.png", k + 1);
    return name;
}

std::string truthTable(const std::vector<cv::Point>& plan) {
    std::string table = "file,x,y,dx,dy\n";
    cv::Point before = plan.empty() ? cv::Point() : plan.front();
    for (std::size_t k = 0; k < plan.size(); ++k) {
        const cv::Point at = plan[k];
        table += scanFrameName(k) + "," + std::to_string(at.x) + "," + std::to_string(at.y) + "," +
                 std::to_string(at.x - before.x) + "," + std::to_string(at.y - before.y) + "\n";
        before = at;
    }
    return table;
}

}  // namespace brantel::programs
