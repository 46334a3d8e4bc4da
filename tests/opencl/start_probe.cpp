// A host in small: loads the library, starts it, stitches two frames, unloads it. Prints what came of it to
// standard output and, with the option --time, how long initJoint took.
//   start_probe LIBRARY [--time]
#include <brantel/brantel.h>
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

#include "opencl/driver_leaks.h"
#include "support/picture.h"

int main(int argc, char** argv) {
    constexpr std::int32_t rows = 216;
    constexpr std::int32_t cols = 300;
    void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (library == nullptr) {
        std::fprintf(stderr, "start_probe: %s\n", dlerror());
        return 2;
    }
    const auto init = reinterpret_cast<decltype(&initJoint)>(dlsym(library, "initJoint"));
    const auto stitch =
        reinterpret_cast<decltype(&stichingImagedJoint)>(dlsym(library, "stichingImagedJoint"));
    const auto uninit = reinterpret_cast<decltype(&uinitJoint)>(dlsym(library, "uinitJoint"));

    const auto before = std::chrono::steady_clock::now();
    const bool ready = init(rows, cols, 1, 1, 20000, 20000, 1, 1);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - before;
    if (argc > 2 && std::strcmp(argv[2], "--time") == 0) std::printf("initJoint: %.2f ms\n", took.count());

    const brantel::test::Picture picture =
        brantel::test::makePicture(brantel::test::Texture::fine, 400, 600, 1, 8);
    std::vector<std::uint8_t> first = picture.window(20, 20, rows, cols);
    std::vector<std::uint8_t> second = picture.window(120, 20, rows, cols);
    StitchFlags flags{};
    const std::int32_t result =
        stitch(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr, nullptr, &flags);
    std::printf("ready %d, result %d, offset %d %d\n", ready ? 1 : 0, result, flags.offset.x, flags.offset.y);
    uninit();
    dlclose(library);  // with the threads of a successful check still waiting in it
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return 0;
}
