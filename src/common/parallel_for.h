// Splits a loop over the caller's thread and a mosaic's two idle workers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "common/look_out.h"
#include "common/worker_pair.h"

namespace brantel {

/// Threads that may share a loop: the caller's and both workers.
constexpr std::int32_t loopThreads = 3;

/// Calls body(first, last, thread) for disjoint ranges of at most grain that cover [0, count); thread is 0 to
/// loopThreads - 1 and never used by two threads at once. The ranges run in any order on any thread, so the
/// body must not depend on it, and must not throw. Without workers (null, stopped) everything runs on the
/// caller.
template <class Body>
void parallelFor(WorkerPair* workers, std::int64_t count, std::int64_t grain, Body&& body) {
    std::atomic<std::int64_t> next{0};
    const auto work = [&](std::int32_t thread) {
        for (std::int64_t first = next.fetch_add(grain); first < count; first = next.fetch_add(grain))
            body(first, std::min(first + grain, count), thread);
    };
    auto model = [&] { work(1); };
    auto match = [&] { work(2); };
    const std::int32_t helpers = workers == nullptr || count <= grain ? 0 : spareProcessors();
    const bool matchHelps = helpers > 0 && workers->match.request(Job::of(match));
    const bool modelHelps = helpers > 1 && workers->model.request(Job::of(model));
    work(0);
    // A worker that has not begun by now would find nothing left.
    if (modelHelps && !workers->model.withdraw()) workers->model.wait();
    if (matchHelps && !workers->match.withdraw()) workers->match.wait();
}

}  // namespace brantel
