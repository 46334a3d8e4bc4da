#include "picture/vips_image.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace brantel::render {

namespace {

/// Rows that are made at a time.
constexpr int bandRows = 16;

VipsInterpretation interpretationOf(std::int32_t type) {
    const bool wide = CV_MAT_DEPTH(type) != CV_8U;
    if (CV_MAT_CN(type) == 1) return wide ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W;
    return wide ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
}

void ignore(const char*, GLogLevelFlags, const char*, void*) {}

}  // namespace

void startVips() {
    static const bool started = [] {
        if (VIPS_INIT("brantel") != 0) throw std::runtime_error("libvips does not start: " + vipsMessage());
        vips_cache_set_max(0);
        // Its warnings repeat what is thrown, on a terminal that is not the library's.
        g_log_set_handler("VIPS", G_LOG_LEVEL_WARNING, ignore, nullptr);
        return true;
    }();
    static_cast<void>(started);
}

std::string vipsMessage() {
    constexpr std::size_t most = 2;  // the first ones say why, the others what came of it
    std::istringstream lines(vips_error_buffer());
    vips_error_clear();
    std::vector<std::string> kept;
    for (std::string line; kept.size() < most && std::getline(lines, line);)
        if (!line.empty() && std::find(kept.begin(), kept.end(), line) == kept.end()) kept.push_back(line);
    std::string message;
    for (const std::string& line : kept) message += (message.empty() ? "" : "; ") + line;
    return message;
}

VipsThreads::VipsThreads(const Layout& layout) : before_(vips_concurrency_get()) {
    constexpr std::int64_t memory = 96 << 20;
    constexpr std::int64_t rowsPerThread = 128;  // of all buffers, as far as they grow with the threads
    const std::int64_t rowBytes = static_cast<std::int64_t>(CV_ELEM_SIZE(layout.type)) * layout.size.width;
    const std::int64_t most = std::max<std::int64_t>(4, memory / (rowsPerThread * rowBytes));
    vips_concurrency_set(static_cast<int>(std::min<std::int64_t>(before_, most)));
}

VipsThreads::~VipsThreads() {
    vips_concurrency_set(before_);
}

VipsBands::VipsBands(const PictureParts& parts, std::int64_t memory, double pixelSize,
                     const Progress& progress)
    : bands_(parts, memory), size_(parts.layout.size), progress_(progress) {
    const std::int32_t type = parts.layout.type;
    const double perMillimetre =
        pixelSize > 0 ? 1000 / pixelSize : 1;  // 1 is what libvips has for "not known"
    made_ = vips_image_new();
    vips_image_init_fields(made_, size_.width, size_.height, CV_MAT_CN(type),
                           CV_MAT_DEPTH(type) == CV_8U ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT,
                           VIPS_CODING_NONE, interpretationOf(type), perMillimetre, perMillimetre);
    if (vips_image_pipelinev(made_, VIPS_DEMAND_STYLE_THINSTRIP, nullptr) != 0 ||
        vips_image_generate(made_, nullptr, generate, nullptr, this, nullptr) != 0 ||
        vips_sequential(made_, &ordered_, "tile_height", bandRows, nullptr) != 0) {
        g_object_unref(made_);
        throw std::runtime_error("libvips: " + vipsMessage());
    }
    vips_image_set_progress(ordered_, TRUE);
    g_signal_connect(ordered_, "eval", G_CALLBACK(evaluated), this);
}

VipsBands::~VipsBands() {
    g_object_unref(ordered_);
    g_object_unref(made_);
}

void VipsBands::check() const {
    if (failure_) std::rethrow_exception(failure_);
}

/// Only one thread at a time comes here: what keeps the order has a lock.
int VipsBands::generate(VipsRegion* region, void*, void* self, void*, gboolean*) {
    auto* const bands = static_cast<VipsBands*>(self);
    try {
        bands->fill(region);
        return 0;
    } catch (...) {
        bands->fail();
        return -1;
    }
}

void VipsBands::fill(VipsRegion* region) {
    const VipsRect& area = region->valid;
    if (area.left != 0 || area.width != size_.width || area.top != rows_)
        throw std::logic_error("libvips has asked for rows out of their order");
    bands_.next(area.height, VIPS_REGION_ADDR_TOPLEFT(region), VIPS_REGION_LSKIP(region));
    rows_ += area.height;
}

void VipsBands::evaluated(VipsImage*, VipsProgress* progress, void* self) {
    auto* const bands = static_cast<VipsBands*>(self);
    try {
        tell(bands->progress_, static_cast<std::size_t>(progress->npels),
             static_cast<std::size_t>(progress->tpels));
    } catch (...) {
        bands->fail();
    }
}

/// The first failure is what the others come from.
void VipsBands::fail() {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::current_exception();
    vips_image_set_kill(ordered_, TRUE);
}

}  // namespace brantel::render
