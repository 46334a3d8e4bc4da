#include "dll/loaded_library.h"

#include <brantel/brantel.h>
#include <windows.h>

#include <stdexcept>
#include <string>

namespace brantel::test {

namespace {

constexpr const char* fileName = "Brantel.dll";

struct Library {
    HMODULE module = nullptr;
    decltype(&::initJoint) initJoint = nullptr;
    decltype(&::stichingImagedJoint) stichingImagedJoint = nullptr;
    decltype(&::uinitJoint) uinitJoint = nullptr;
};
Library library;

template <class Function>
void look(Function& function, const char* name) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library.module, name)));
    if (function == nullptr) throw std::runtime_error(std::string("not exported: ") + name);
}

}  // namespace

void loadLibrary() {
    library.module = LoadLibraryA(fileName);
    if (library.module == nullptr)
        throw std::runtime_error("LoadLibrary failed: " + std::to_string(GetLastError()));
    look(library.initJoint, "initJoint");
    look(library.stichingImagedJoint, "stichingImagedJoint");
    look(library.uinitJoint, "uinitJoint");
}

void freeLibrary() {
    const HMODULE module = library.module;
    library = {};
    if (FreeLibrary(module) == 0)
        throw std::runtime_error("FreeLibrary failed: " + std::to_string(GetLastError()));
}

bool libraryIsMapped() {
    return GetModuleHandleA(fileName) != nullptr;
}

}  // namespace brantel::test

using brantel::test::library;

extern "C" {

bool initJoint(std::int32_t rows, std::int32_t columns, std::int32_t channels, std::int32_t densityLevel,
               std::int32_t limitA, std::int32_t limitB, std::int32_t mainMode, std::int32_t staticFlag) {
    return library.initJoint(rows, columns, channels, densityLevel, limitA, limitB, mainMode, staticFlag);
}

std::int32_t stichingImagedJoint(std::uint8_t* firstFrame, std::uint8_t* currentFrame,
                                 std::int32_t continueFlag, std::int32_t scale, std::int32_t expectedX,
                                 std::int32_t expectedY, bool useExpected, MosaicCorner* minCorner,
                                 MosaicCorner* maxCorner, cv::Mat* mosaic, StitchFlags* flags) {
    return library.stichingImagedJoint(firstFrame, currentFrame, continueFlag, scale, expectedX, expectedY,
                                       useExpected, minCorner, maxCorner, mosaic, flags);
}

bool uinitJoint() {
    return library.uinitJoint();
}
}
