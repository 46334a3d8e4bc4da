#include "coarse/coarse_frame.h"

namespace brantel::session {

void CoarseFrame::dropSpectrum() {
    std::vector<std::int32_t>().swap(energies_);
    std::vector<double>().swap(spectrum_);
}

}  // namespace brantel::session
