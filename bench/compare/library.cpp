#include "compare/library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace brantel::bench {

namespace {

template <class F>
void find(void* handle, const char* name, F*& function) {
    function = reinterpret_cast<F*>(dlsym(handle, name));
    if (function == nullptr) throw std::runtime_error(std::string("no function ") + name);
}

}  // namespace

Library::Library(const std::string& file, const ScanSetup& setup, std::int32_t mainMode) {
    handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
    find(handle_, "initJoint", init_);
    find(handle_, "stichingImagedJoint", stitch_);
    find(handle_, "uinitJoint", close_);
    home_ = std::filesystem::current_path();
    std::string pattern = (std::filesystem::temp_directory_path() / "brantel-compare-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    directory_ = pattern;
    std::filesystem::current_path(directory_);
    std::ofstream("stitch.txt") << "1";  // the CPU
    if (!init_(setup.rows, setup.cols, setup.channels, 1, 20000, 20000, mainMode, 0))
        throw std::runtime_error("initJoint refused");
}

Library::~Library() {
    close_();
    std::error_code ignored;
    std::filesystem::current_path(home_, ignored);
    std::filesystem::remove_all(directory_, ignored);
}

StitchFlags Library::stitch(const cv::Mat* first, const cv::Mat& current) {
    StitchFlags flags{};
    std::uint8_t* begin = first != nullptr ? first->data : nullptr;
    result_ = stitch_(begin, current.data, first != nullptr ? 0 : 1, 1, 0, 0, false, nullptr, nullptr,
                      &canvas_, &flags);
    return flags;
}

}  // namespace brantel::bench
