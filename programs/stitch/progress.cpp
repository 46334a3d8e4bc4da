#include "stitch/progress.h"

#include "system/platform.h"

namespace brantel::programs {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto pause = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(std::FILE* stream, bool wanted) : stream_(stream), active_(wanted && isTerminal(stream)) {}

void Progress::show(const Tally& tally, std::size_t total, std::size_t dropped, cv::Size canvas) {
    const auto now = Clock::now();
    if (!active_ || now - shown_ < pause) return;
    shown_ = now;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::fprintf(stream_, "\r\033[K%zu", tally.frames());
    if (total > 0) std::fprintf(stream_, " of %zu", total);
    std::fprintf(stream_, " frames, %zu placed, %zu skipped, %zu refused", tally.placed(), tally.skipped(),
                 tally.refused());
    if (tally.waiting() > 0) std::fprintf(stream_, " (%zu waiting)", tally.waiting());
    if (dropped > 0) std::fprintf(stream_, ", %zu dropped", dropped);
    std::fprintf(stream_, ", %.1f frames/s, canvas %d x %d",
                 seconds > 0 ? static_cast<double>(tally.frames()) / seconds : 0.0, canvas.width,
                 canvas.height);
    std::fflush(stream_);
}

void Progress::clear() {
    if (!active_) return;
    std::fprintf(stream_, "\r\033[K");
    std::fflush(stream_);
}

}  // namespace brantel::programs
