#include <windows.h>

#include <atomic>

#include "system/stop.h"

namespace brantel::programs {

namespace {

constexpr DWORD nothing = ~DWORD{0};
std::atomic<DWORD> received{nothing};

/// Runs on a thread of its own.
BOOL WINAPI onConsoleEvent(DWORD event) {
    DWORD before = nothing;
    const bool first = received.compare_exchange_strong(before, event);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return first ? TRUE : FALSE;
    // The window is closed or the user logs off: when this returns the system ends the process. It waits for
    // some seconds, in which the program saves what there is and ends by itself.
    Sleep(INFINITE);
    return TRUE;
}

}  // namespace

void catchStopSignals() {
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

bool stopRequested() {
    return received != nothing;
}

const char* stopCause() {
    switch (received) {
        case nothing:
            return "";
        case CTRL_C_EVENT:
        case CTRL_BREAK_EVENT:
            return "Ctrl-C";
        default:
            return "the end of the console";
    }
}

}  // namespace brantel::programs
