// A way around a fault of libvips 8.14.
#pragma once

#include <vips/vips.h>

#include <mutex>
#include <vector>

namespace brantel::render {

/// When a TIFF pyramid cannot be finished, libvips 8.14 frees the temporary files of its levels and then has libtiff write
/// the rest into them. The targets that it makes stay as long as this object is there, whoever else lets them go.
class KeptTargets {
  public:
    KeptTargets();
    KeptTargets(const KeptTargets&) = delete;
    KeptTargets& operator=(const KeptTargets&) = delete;
    ~KeptTargets();

  private:
    static gboolean made(GSignalInvocationHint* hint, guint count, const GValue* values, gpointer self);

    const guint signal_;
    gulong hook_;
    std::mutex mutex_;
    std::vector<GObject*> targets_;
};

}  // namespace brantel::render
