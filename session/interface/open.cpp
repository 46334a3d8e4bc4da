// Opening and closing sessions.
#include <cstddef>
#include <limits>
#include <memory>

#include "interface/call.h"
#include "interface/structs.h"

namespace brantel::session {

namespace {

constexpr brantel_settings defaults() {
    brantel_settings settings{};
    settings.size = sizeof settings;
    settings.density_level = 8;
    settings.acceptance = BRANTEL_ACCEPT_BY_BRIGHTNESS;
    settings.correlation = 1;
    settings.trust_correlation = 1;
    settings.small_overlaps = 1;
    settings.earlier_frames = 6;
    settings.waiting_frames = 64;
    settings.join_maps = 1;
    settings.memory = std::int64_t{512} << 20;
    return settings;
}

bool lies(std::int64_t value, std::int64_t low, std::int64_t high) {
    return low <= value && value <= high;
}

bool inRange(const brantel_settings& settings) {
    return lies(settings.density_level, -100, 200) &&
           lies(settings.acceptance, BRANTEL_ACCEPT_BY_BRIGHTNESS, BRANTEL_ACCEPT_BY_MOTION) &&
           lies(settings.earlier_frames, 0, 1000) && lies(settings.waiting_frames, 0, 10000) &&
           settings.memory >= 0;
}

brantel_status check(const brantel_settings& settings) {
    if (settings.columns < 1 || settings.rows < 1 || (settings.channels != 1 && settings.channels != 3))
        return BRANTEL_BAD_FRAME_SIZE;
    const std::int64_t rowBytes = std::int64_t{settings.columns} * settings.channels;
    if (settings.stride != 0 && settings.stride < rowBytes && settings.stride > -rowBytes)
        return BRANTEL_BAD_STRIDE;
    return inRange(settings) ? BRANTEL_OK : BRANTEL_BAD_SETTING;
}

brantel_status start(brantel_session& held) {
    switch (held.session.start()) {
        case Session::Start::unusableFrames:
            return BRANTEL_BAD_FRAME_SIZE;
        case Session::Start::noThreads:
            return BRANTEL_NO_THREADS;
        case Session::Start::ready:
            break;
    }
    return BRANTEL_OK;
}

brantel_status open(const brantel_settings& given, brantel_session** session) {
    brantel_settings settings = defaults();
    if (given.size < settingsSize || !takeStruct(given, settings)) return BRANTEL_BAD_STRUCT_SIZE;
    const brantel_status status = check(settings);
    if (status != BRANTEL_OK) return status;
    if (settings.stride == 0) settings.stride = std::int64_t{settings.columns} * settings.channels;
    std::unique_ptr<brantel_session> made(new (std::nothrow) brantel_session(settings));
    if (made == nullptr) return BRANTEL_NO_MEMORY;
    const brantel_status started = callOn(made.get(), start);
    if (started == BRANTEL_OK) *session = made.release();
    return started;
}

}  // namespace

}  // namespace brantel::session

extern "C" {

brantel_status brantel_default_settings(brantel_settings* settings) {
    if (settings == nullptr) return BRANTEL_NULL_ARGUMENT;
    if (settings->size < brantel::session::settingsSize) return BRANTEL_BAD_STRUCT_SIZE;
    brantel::session::giveStruct(brantel::session::defaults(), *settings);
    return BRANTEL_OK;
}

brantel_status brantel_session_open(const brantel_settings* settings, brantel_session** session) {
    if (session == nullptr) return BRANTEL_NULL_ARGUMENT;
    *session = nullptr;
    if (settings == nullptr) return BRANTEL_NULL_ARGUMENT;
    const int cancellation = brantel::platform::disableCancellation();
    brantel_status status = BRANTEL_NO_MEMORY;
    try {
        status = brantel::session::open(*settings, session);
    } catch (...) {
        status = BRANTEL_NO_MEMORY;  // nothing else is thrown while a session is made
    }
    brantel::platform::restoreCancellation(cancellation);
    return status;
}

void brantel_session_close(brantel_session* session) {
    const int cancellation = brantel::platform::disableCancellation();
    delete session;
    brantel::platform::restoreCancellation(cancellation);
}
}
