#include "simd/level.h"

#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace brantel::simd {

namespace {

Level startingLevel() {
    Level highest = Level::baseline;
    const char* wanted = std::getenv("BRANTEL_INSTRUCTIONS");
    for (const Level level : allLevels) {
        if (!isSupported(level)) continue;
        highest = level;
        if (wanted != nullptr && std::strcmp(wanted, nameOf(level)) == 0) break;
    }
    return highest;
}

template <class Table>
const Table& ofActiveLevel(const Table& (*baseline)(), const Table& (*avx2)(), const Table& (*avx512)()) {
    switch (activeLevel().load(std::memory_order_relaxed)) {
        case Level::avx512:
            return avx512();
        case Level::avx2:
            return avx2();
        default:
            return baseline();
    }
}

}  // namespace

const char* nameOf(Level level) {
    if (level == Level::avx512) return "avx512";
    return level == Level::avx2 ? "avx2" : "baseline";
}

bool isSupported(Level level) {
    if (level == Level::baseline) return true;
    return level == Level::avx2 ? platform::processorHasAvx2() : platform::processorHasAvx512();
}

std::atomic<Level>& activeLevel() {
    static std::atomic<Level> active{startingLevel()};
    return active;
}

const Kernels& kernels() {
    return ofActiveLevel(baseline::table, avx2::table, avx512::table);
}

const CornerKernels& cornerKernels() {
    return ofActiveLevel(baseline::cornerTable, avx2::cornerTable, avx512::cornerTable);
}

const SumKernels& sumKernels() {
    return ofActiveLevel(baseline::sumTable, avx2::sumTable, avx512::sumTable);
}

const SeamKernels& seamKernels() {
    return ofActiveLevel(baseline::seamTable, avx2::seamTable, avx512::seamTable);
}

}  // namespace brantel::simd
