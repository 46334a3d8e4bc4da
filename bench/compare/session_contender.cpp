// A session as a host sees it: frames without positions, the track kept.
#include <brantel/session.h>

#include <memory>
#include <stdexcept>

#include "compare/contenders.h"

namespace brantel::bench {

namespace {

struct Close {
    void operator()(brantel_session* session) const { brantel_session_close(session); }
};
using Session = std::unique_ptr<brantel_session, Close>;

Session openFor(const ScanSetup& setup) {
    brantel_settings settings{};
    settings.size = sizeof settings;
    brantel_default_settings(&settings);
    settings.columns = setup.cols;
    settings.rows = setup.rows;
    settings.channels = setup.channels;
    settings.density_level = 1;  // as many corners as the other contenders of our own look for
    brantel_session* session = nullptr;
    if (brantel_session_open(&settings, &session) != BRANTEL_OK) throw std::runtime_error("no session");
    return Session(session);
}

}  // namespace

Outcome runSession(const Scan& scan) {
    Outcome outcome;
    outcome.right = 0;
    const Session session = openFor(scan.setup);
    cv::Point before;
    const Stopwatch whole;
    for (std::size_t i = 0; i < scan.frames.size(); ++i) {
        brantel_answer answer{};
        answer.size = sizeof answer;
        const Stopwatch watch;
        if (brantel_session_add(session.get(), scan.frames[i].data, nullptr, &answer) != BRANTEL_OK)
            throw std::runtime_error(brantel_session_error(session.get()));
        if (i > 0) watch.addFrame(outcome);
        const cv::Point now(answer.x, answer.y);
        const bool placed = answer.state == BRANTEL_PLACED && answer.map == 1;
        if (placed && (i == 0 || isRight(now - before, scan.step(i)))) ++outcome.right;
        before = now;
    }
    whole.endScan(outcome);
    return outcome;
}

}  // namespace brantel::bench
