// Memory that is used up, whoever has noticed it.
#pragma once

#include <exception>
#include <new>
#include <opencv2/core.hpp>

namespace brantel::programs {

/// True for the exceptions that say that memory is used up.
inline bool isOutOfMemory(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return true;
    const auto* ofPictures = dynamic_cast<const cv::Exception*>(&error);
    return ofPictures != nullptr && ofPictures->code == cv::Error::StsNoMem;
}

}  // namespace brantel::programs
