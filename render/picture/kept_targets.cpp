#include "picture/kept_targets.h"

#include <new>

namespace brantel::render {

KeptTargets::KeptTargets()
    : signal_(g_signal_lookup("postbuild", VIPS_TYPE_OBJECT)),
      hook_(g_signal_add_emission_hook(signal_, 0, made, this, nullptr)) {}

KeptTargets::~KeptTargets() {
    g_signal_remove_emission_hook(signal_, hook_);
    for (GObject* target : targets_) g_object_unref(target);
}

/// An object of libvips is complete.
gboolean KeptTargets::made(GSignalInvocationHint*, guint, const GValue* values, gpointer self) {
    GObject* object = static_cast<GObject*>(g_value_get_object(values));
    if (!VIPS_IS_TARGET(object)) return TRUE;
    auto* const kept = static_cast<KeptTargets*>(self);
    g_object_ref(object);
    try {
        const std::lock_guard lock(kept->mutex_);
        kept->targets_.push_back(object);
    } catch (const std::bad_alloc&) {
        // It stays for ever then, which is better than being used after its end.
    }
    return TRUE;
}

}  // namespace brantel::render
