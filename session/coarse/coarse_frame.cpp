#include "coarse/coarse_frame.h"

namespace brantel::session {

namespace {

template <class T>
std::int64_t bytesOf(const std::vector<T>& elements) {
    return static_cast<std::int64_t>(elements.capacity() * sizeof(T));
}

}  // namespace

std::int64_t CoarseFrame::bytes() const {
    return static_cast<std::int64_t>(sizeof *this) + bytesOf(middle_) + bytesOf(coarse_) +
           bytesOf(energies_) + bytesOf(spectrum_);
}

void CoarseFrame::dropSpectrum() {
    std::vector<std::int32_t>().swap(energies_);
    std::vector<double>().swap(spectrum_);
}

}  // namespace brantel::session
