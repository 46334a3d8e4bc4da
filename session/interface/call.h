// What happens around every call of the C interface on a session.
#pragma once

#include <brantel/session.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "platform/platform.h"
#include "session.h"

/// What hosts hold.
struct brantel_session {
    explicit brantel_session(const brantel_settings& settings) : session(settings) {}

    brantel::session::Session session;
    std::atomic<bool> inUse{false};
    std::array<char, 256> error{};  // fixed: a text about missing memory needs none
};

namespace brantel::session {

inline brantel_status refuse(brantel_session& held, brantel_status status, const char* text) {
    std::snprintf(held.error.data(), held.error.size(), "%s", text);
    return status;
}
inline brantel_status refuse(brantel_session& held, brantel_status status) {
    return refuse(held, status, brantel_status_text(status));
}

/// The status for the exception that is being handled.
inline brantel_status refuseException(brantel_session& held) {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return refuse(held, BRANTEL_NO_MEMORY);
    } catch (const StepBrokenOff&) {
        return refuse(held, BRANTEL_NO_MEMORY, "a worker thread ran out of memory or does not run");
    } catch (const std::length_error&) {
        return refuse(held, BRANTEL_TOO_LARGE);
    } catch (const cv::Exception& error) {
        const bool memory = error.code == cv::Error::StsNoMem;
        return refuse(held, memory ? BRANTEL_NO_MEMORY : BRANTEL_INTERNAL_ERROR, error.err.c_str());
    } catch (const std::exception& error) {
        return refuse(held, BRANTEL_INTERNAL_ERROR, error.what());
    } catch (...) {
        return refuse(held, BRANTEL_INTERNAL_ERROR);
    }
}

/// Runs step(), which returns a status, unless the session is in use or belongs to another process. The engine's lines go
/// to the host when the step is done, while the session still counts as in use.
template <class Step>
brantel_status callOn(const brantel_session* session, Step&& step) {
    if (session == nullptr) return BRANTEL_NULL_ARGUMENT;
    auto& held =
        const_cast<brantel_session&>(*session);  // only what surrounds the session changes for a query
    if (held.inUse.exchange(true)) return BRANTEL_IN_USE;
    const int cancellation = platform::disableCancellation();
    brantel_status status = BRANTEL_OK;
    held.error[0] = '\0';
    if (held.session.isInherited()) {
        status = refuse(held, BRANTEL_FORKED);
    } else {
        try {
            status = step(held);
        } catch (...) {
            status = refuseException(held);
        }
        held.session.lines().deliver();
    }
    held.inUse = false;
    platform::restoreCancellation(cancellation);
    return status;
}

}  // namespace brantel::session
