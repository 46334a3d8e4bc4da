#include <atomic>
#include <csignal>
#include <ctime>

#include "system/stop.h"

namespace brantel::programs {

namespace {

std::atomic<int> received{0};  // threads that wait for frames look at it, too
static_assert(std::atomic<int>::is_always_lock_free, "written by a signal handler");
timespec firstInterrupt{};

/// Programs that pass Ctrl-C on, such as timeout, send it to the process and to its group: twice at a time.
constexpr double sameKeyPress = 0.3;  // seconds

double secondsSinceFirstInterrupt() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec - firstInterrupt.tv_sec) +
           1e-9 * static_cast<double>(now.tv_nsec - firstInterrupt.tv_nsec);
}

extern "C" void onStopSignal(int signal) {
    if (signal == SIGINT && received == SIGINT && secondsSinceFirstInterrupt() > sameKeyPress) {
        std::signal(SIGINT, SIG_DFL);
        std::raise(SIGINT);
    }
    if (received != 0) return;
    clock_gettime(CLOCK_MONOTONIC, &firstInterrupt);
    received = signal;
}

}  // namespace

void catchStopSignals() {
    std::signal(SIGINT, onStopSignal);
    std::signal(SIGTERM, onStopSignal);
    // Who has started the program by nohup wants it to outlive the terminal.
    if (std::signal(SIGHUP, onStopSignal) == SIG_IGN) std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool stopRequested() {
    return received != 0;
}

const char* stopCause() {
    switch (received) {
        case 0:
            return "";
        case SIGINT:
            return "Ctrl-C";
        case SIGTERM:
            return "a request to terminate";
        default:
            return "the loss of the terminal";
    }
}

}  // namespace brantel::programs
