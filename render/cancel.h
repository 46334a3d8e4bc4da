// How far the work has got, and whether it shall go on.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace brantel::render {

/// Called now and then, by one thread at a time, with what is done and the whole; false asks for an end.
using Progress = std::function<bool(std::size_t done, std::size_t total)>;

/// Thrown when the progress function has asked for an end. Nothing is left behind.
struct Cancelled : std::runtime_error {
    Cancelled() : std::runtime_error("cancelled") {}
};

inline void tell(const Progress& progress, std::size_t done, std::size_t total) {
    if (progress && !progress(done, total)) throw Cancelled();
}

}  // namespace brantel::render
