#include "render/console.h"

#include <cstdio>

#include "system/platform.h"
#include "system/stop.h"

namespace brantel::programs {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto pause = std::chrono::milliseconds(100);

}  // namespace

Console::Console(bool quiet) : quiet_(quiet), active_(!quiet && isTerminal(stderr)) {}

void Console::error(const std::string& text) {
    clear();
    std::fprintf(stderr, "brantel-render: %s\n", text.c_str());
}

void Console::note(const std::string& text) {
    if (!quiet_) error(text);
}

bool Console::result(const std::string& text) {
    clear();
    if (quiet_ || !hasStandardOutput()) return true;
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
}

render::Progress Console::progressOf(std::string step) {
    return [this, step = std::move(step)](std::size_t done, std::size_t total) {
        return show(step, done, total);
    };
}

bool Console::show(const std::string& step, std::size_t done, std::size_t total) {
    const auto now = Clock::now();
    if (active_ && total > 0 && now - shown_ >= pause) {
        shown_ = now;
        const double percent = 100 * static_cast<double>(done) / static_cast<double>(total);
        std::fprintf(stderr, "\r\033[K%s: %.0f %%", step.c_str(), percent);
        std::fflush(stderr);
    }
    return !stopRequested();
}

void Console::clear() {
    if (!active_) return;
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
}

}  // namespace brantel::programs
