// Which device the calling thread uses.
#pragma once

#include <cuda_runtime_api.h>

#include "cuda/launch.h"

namespace brantel {

/// Everything of a mosaic lies on the first device.
constexpr int mosaicDevice = 0;

/// Makes the mosaic's device the calling thread's while this exists. The thread may be the host's, which may use
/// another device itself: that one is current again afterwards.
class OnMosaicDevice {
  public:
    OnMosaicDevice()
        : known_(cudaGetDevice(&before_) == cudaSuccess), selected_(cudaSetDevice(mosaicDevice)) {}
    OnMosaicDevice(const OnMosaicDevice&) = delete;
    OnMosaicDevice& operator=(const OnMosaicDevice&) = delete;
    ~OnMosaicDevice() {
        if (known_ && before_ != mosaicDevice) cudaSetDevice(before_);
    }
    /// Throws DeviceError when the device is not the thread's: what follows would be done on another one.
    void require() const { check(selected_, "device selection"); }

  private:
    int before_ = mosaicDevice;
    bool known_;
    cudaError_t selected_;
};

}  // namespace brantel
