#include "support/scratch_directory.h"

#include <atomic>
#include <chrono>
#include <fstream>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace brantel::test {

namespace fs = std::filesystem;

fs::path uniqueTemporaryName(const std::string& stem) {
    static std::atomic<int> calls{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
#if defined(_WIN32)
    const int process = _getpid();
#else
    const int process = getpid();
#endif
    return fs::temp_directory_path() /
           (stem + "-" + std::to_string(process) + "-" + std::to_string(now) + "-" + std::to_string(++calls));
}

ScratchDirectory::ScratchDirectory()
    : path_(uniqueTemporaryName("brantel-test")), before_(fs::current_path()) {
    fs::create_directories(path_);
    fs::current_path(path_);
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    fs::remove_all(path_, ignored);
}

void ScratchDirectory::write(const std::string& name, const std::string& contents) const {
    std::ofstream(path_ / name, std::ios::binary) << contents;
}

}  // namespace brantel::test
