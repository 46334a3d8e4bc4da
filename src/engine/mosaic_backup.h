// Undoing what a step that breaks off has done to a mosaic.
#pragma once

#include "compose/mosaic.h"

namespace brantel {

/// Puts a mosaic back as it was when a call breaks off (no memory, a worker or device that broke down), so
/// that the host may go on with it. Canvas pixels are not covered: they may only be written once nothing can
/// fail any more.
class MosaicBackup {
  public:
    explicit MosaicBackup(Mosaic& mosaic) : mosaic_(mosaic), before_(mosaic) {}
    MosaicBackup(const MosaicBackup&) = delete;
    MosaicBackup& operator=(const MosaicBackup&) = delete;
    ~MosaicBackup() {
        if (kept_) return;
        mosaic_ = before_;
        // The template's features may be another frame's by now, or half written.
        if (mosaic_.templateState == TemplateState::described) mosaic_.templateState = TemplateState::placed;
    }
    /// The call came to an end of its own: what it did stays.
    void keepChanges() { kept_ = true; }

  private:
    Mosaic& mosaic_;
    const Mosaic before_;
    bool kept_ = false;
};

}  // namespace brantel
