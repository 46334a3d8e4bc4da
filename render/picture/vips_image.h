// A picture's bands as an image of libvips.
#pragma once

#include <vips/vips.h>

#include <cstdint>
#include <exception>
#include <mutex>
#include <string>

#include "cancel.h"
#include "picture/bands.h"

namespace brantel::render {

/// Starts libvips, once in a process.
void startVips();

/// What libvips has to say about the last failure, on one line.
std::string vipsMessage();

/// As long as it is there, libvips starts no more threads than the buffers of a picture this wide allow. Four need no more
/// than one.
class VipsThreads {
  public:
    explicit VipsThreads(const Layout& layout);
    VipsThreads(const VipsThreads&) = delete;
    VipsThreads& operator=(const VipsThreads&) = delete;
    ~VipsThreads();

  private:
    const int before_;
};

/// Its rows come from top to bottom, each once. No exception goes through libvips: it ends what it does, and whoever has
/// started it calls check().
class VipsBands {
  public:
    /// @param memory     bytes for decoded frames
    /// @param pixelSize  micrometres; 0: not known
    VipsBands(const PictureParts& parts, std::int64_t memory, double pixelSize, const Progress& progress);
    VipsBands(const VipsBands&) = delete;
    VipsBands& operator=(const VipsBands&) = delete;
    ~VipsBands();

    VipsImage* image() const { return ordered_; }

    /// Throws what has been thrown.
    void check() const;

  private:
    static int generate(VipsRegion* region, void* sequence, void* self, void* unused, gboolean* stop);
    static void evaluated(VipsImage* image, VipsProgress* progress, void* self);
    void fill(VipsRegion* region);
    void fail();

    PictureBands bands_;
    const cv::Size size_;
    const Progress& progress_;
    std::int32_t rows_ = 0;  ///< done
    std::mutex mutex_;       ///< over what comes from progress and bands at the same time
    std::exception_ptr failure_;
    VipsImage* made_ = nullptr;
    VipsImage* ordered_ = nullptr;
};

}  // namespace brantel::render
