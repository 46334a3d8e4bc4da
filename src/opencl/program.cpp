// Reading and building the kernels. Despite its name "cl.bin" holds source text.
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "opencl/device.h"

namespace brantel {

namespace {

constexpr char kernelFile[] = "cl.bin";
constexpr char thisFile[] = "OpenclJoint";  // the lines name file and line of their origin; both are fixed
constexpr std::size_t buildLogBytes = 163840;
constexpr long largestFile = 1L << 28;  // a directory claims to be endless

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

/// The whole file into text, with a terminating zero behind it.
bool readKernels(const Log& log, std::vector<char>& text) {
    const OpenFile file(std::fopen(kernelFile, "rb"));
    if (file == nullptr) {
        log.clLog("%s at  %d :Can't open %s\n", thisFile, 2881, kernelFile);
        return false;
    }
    std::fseek(file.get(), 0, SEEK_END);
    const long size = std::ftell(file.get());
    std::fseek(file.get(), 0, SEEK_SET);
    const bool readable = size > 0 && size <= largestFile;
    text.assign(readable ? static_cast<std::size_t>(size) + 1 : 0, '\0');
    if (readable && std::fread(text.data(), static_cast<std::size_t>(size), 1, file.get()) == 1) return true;
    log.clLog("%s at %d:can't read source %s\n", thisFile, 2891, kernelFile);
    return false;
}

std::string buildLogOf(cl_program program, cl_device_id device) {
    std::vector<char> text(buildLogBytes, '\0');
    clApi()->clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, text.size(), text.data(), nullptr);
    text.back() = '\0';
    return text.data();
}

void printBuildLog(const Log& log, const std::string& text) {
    log.clLog("Error in kernel:%s", text.c_str());
}

/// Builds the program for the device, or releases it and remembers why it cannot be built.
cl_program built(ClDevice& device, cl_program program, std::vector<char>&& text) {
    const cl_int status = clApi()->clBuildProgram(program, 0, nullptr, nullptr, nullptr, nullptr);
    if (status == CL_SUCCESS) return program;
    const std::string buildLog = buildLogOf(program, device.clDevice);
    printBuildLog(device.log, buildLog);
    clApi()->clReleaseProgram(program);
    // Anything else than the text's own fault may be gone at the next try.
    if (status == CL_BUILD_PROGRAM_FAILURE) device.refused = {device.clDevice, std::move(text), buildLog};
    return nullptr;
}

}  // namespace

cl_program CreateProgram(ClDevice& device) {
    std::vector<char> text;
    const char* source = readKernels(device.log, text) ? text.data() : nullptr;
    if (source != nullptr && device.refused.isAbout(device.clDevice, text)) {
        printBuildLog(device.log, device.refused.buildLog);
        return nullptr;
    }
    // Without a source the call is made all the same and fails.
    const cl_program program =
        clApi()->clCreateProgramWithSource(device.clContext, 1, &source, nullptr, nullptr);
    if (program != nullptr) return built(device, program, std::move(text));
    device.log.clLog("Failed to create CL program for source");
    return nullptr;
}

}  // namespace brantel
