// Ends with 0 when this process uses the level that BRANTEL_INSTRUCTIONS asks for. usage: level_probe [WISH]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "simd/level.h"

int main(int count, char** arguments) {
    using brantel::simd::Level;
    const std::string wish = count > 1 ? arguments[1] : "";
    const char* set = std::getenv("BRANTEL_INSTRUCTIONS");
    if (!wish.empty() && (set == nullptr || wish != set)) {
        std::puts("the environment does not hold the wish");
        return 2;
    }
    if (wish.empty() && set != nullptr) {
        std::puts("skipped: the environment holds a wish");
        return 0;
    }
    Level expected =
        Level::baseline;  // the highest also for a wish that nobody knows or this processor cannot fulfil
    for (const Level level : brantel::simd::allLevels) {
        if (!isSupported(level)) continue;
        expected = level;
        if (wish == nameOf(level)) break;
    }
    const Level active = brantel::simd::activeLevel();
    std::printf("wish \"%s\", expected %s, active %s\n", wish.c_str(), nameOf(expected), nameOf(active));
    return active == expected ? 0 : 1;
}
