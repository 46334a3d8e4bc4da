// Where the reference pipeline's time goes: called after each stage with its name and milliseconds.
#pragma once

#include <chrono>
#include <functional>
#include <utility>

namespace brantel::reference {

using StageHook = std::function<void(const char* stage, double milliseconds)>;

/// Runs step() and reports how long it took.
template <class Step>
decltype(auto) timed(const StageHook& hook, const char* stage, Step&& step) {
    struct Report {
        const StageHook& hook;
        const char* stage;
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        ~Report() {
            if (!hook) return;
            const std::chrono::duration<double, std::milli> span = std::chrono::steady_clock::now() - start;
            hook(stage, span.count());
        }
    } report{hook, stage};
    return std::forward<Step>(step)();
}

}  // namespace brantel::reference
