#include "stitch/session.h"

#include <cstdint>
#include <new>
#include <stdexcept>

#include "system/files.h"

namespace brantel::programs {

namespace {

/// Side of the library's canvas before it grows.
std::int64_t newCanvasSide(std::int32_t frameSide) {
    return frameSide <= 6000 ? 6000 : std::int64_t{frameSide} + 2000;
}

brantel_settings settingsOf(const SessionSettings& wanted, const FrameGeometry& frame, bool testFrames) {
    brantel_settings settings{};
    settings.size = sizeof settings;
    brantel_default_settings(&settings);
    settings.columns = frame.columns;
    settings.rows = frame.rows;
    settings.channels = frame.channels;
    settings.density_level = wanted.densityLevel;
    // Whatever its pictures, every frame passes the motion test with its wide limit.
    const bool motion = wanted.mainMode != 0 || !testFrames;
    settings.acceptance = motion ? BRANTEL_ACCEPT_BY_MOTION : BRANTEL_ACCEPT_BY_BRIGHTNESS;
    settings.strict = testFrames ? wanted.staticFlag : 0;
    settings.correlation = wanted.search ? 1 : 0;
    settings.trust_positions = wanted.trustPositions ? 1 : 0;
    return settings;
}

}  // namespace

void requireUsefulLimit(const SessionSettings& settings, cv::Size frame) {
    const std::int64_t limit = std::int64_t{settings.limitA} * settings.limitB;
    const std::int64_t rows = newCanvasSide(frame.height);
    const std::int64_t columns = newCanvasSide(frame.width);
    if (limit > rows * columns && limit <= INT32_MAX) return;
    throw InputError("--limit " + std::to_string(settings.limitA) + "," + std::to_string(settings.limitB) +
                     ": the product must be more than a new canvas has pixels (" + std::to_string(columns) +
                     " x " + std::to_string(rows) + ") and less than 2147483648");
}

Session::Session(const SessionSettings& settings, const FrameGeometry& frame, bool testFrames,
                 LibraryLog& log)
    : frame_(frame) {
    brantel_settings full = settingsOf(settings, frame, testFrames);
    if (log.isWanted()) {
        full.on_line = LibraryLog::write;
        full.user = &log;
    }
    require(brantel_session_open(&full, &session_));
}

void Session::require(brantel_status status) const {
    if (status == BRANTEL_OK) return;
    if (status == BRANTEL_NO_MEMORY) throw std::bad_alloc();
    throw std::runtime_error(std::string("the library says: ") + brantel_status_text(status));
}

brantel_status Session::add(const cv::Mat& image, const brantel_input& input, brantel_answer& answer) {
    brantel_input full = input;
    full.size = sizeof full;
    full.stride = static_cast<std::int64_t>(image.step[0]);
    answer = {};
    answer.size = sizeof answer;
    return brantel_session_add(session_, image.data, &full, &answer);
}

void Session::endMap() {
    require(brantel_session_begin_map(session_));
}

brantel_frame Session::frame(std::int64_t index) const {
    brantel_frame frame{};
    frame.size = sizeof frame;
    require(brantel_session_frame(session_, index, &frame));
    return frame;
}

brantel_map Session::map(std::int32_t number) const {
    brantel_map map{};
    map.size = sizeof map;
    require(brantel_session_map(session_, number, &map));
    return map;
}

cv::Mat Session::read(std::int32_t number, const cv::Rect& part) const {
    cv::Mat picture(part.size(), CV_8UC(frame_.channels));
    require(brantel_session_read(session_, number, part.x, part.y, part.width, part.height, 1, picture.data,
                                 static_cast<std::int64_t>(picture.step[0])));
    return picture;
}

}  // namespace brantel::programs
