// Memory that the phases of a frame use in turn.
#pragma once

#include <cassert>
#include <cstdint>

namespace brantel {

/// Who has an arena. A frame passes through the phases in this order, and each finds nothing of the one
/// before.
enum class Phase { registration, acceptance, blending };

/// One block for all phases. Block is a buffer of floats that grows or is allocated by its own rules.
template <class Block>
class Arena {
  public:
    Block block;

    /// The memory, for a phase that begins: whatever an earlier phase left there is gone.
    template <class T = float>
    T* begin(Phase phase) {
        phase_ = phase;
        return reinterpret_cast<T*>(block.data());
    }
    /// The same memory again, within the phase.
    template <class T = float>
    T* within([[maybe_unused]] Phase phase) {
        assert(phase == phase_);
        return reinterpret_cast<T*>(block.data());
    }

  private:
    Phase phase_ = Phase::registration;
};

}  // namespace brantel
