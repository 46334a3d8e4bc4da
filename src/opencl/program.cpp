// Reading and building the kernels. Despite its name "cl.bin" holds source text.
#include <cstdio>
#include <string>
#include <vector>

#include "common/log.h"
#include "opencl/joint.h"

namespace brantel {

namespace {

constexpr char kernelFile[] = "cl.bin";
constexpr char thisFile[] = "OpenclJoint";  // the lines name file and line of their origin; both are fixed
constexpr std::size_t buildLogBytes = 163840;
constexpr long largestFile = 1L << 28;  // a directory claims to be endless

/// The whole file into text, with a terminating zero behind it.
bool readKernels(std::vector<char>& text) {
    std::FILE* file = std::fopen(kernelFile, "rb");
    if (file == nullptr) {
        clLog("%s at  %d :Can't open %s\n", thisFile, 2881, kernelFile);
        return false;
    }
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
    const bool readable = size > 0 && size <= largestFile;
    text.assign(readable ? static_cast<std::size_t>(size) + 1 : 0, '\0');
    if (!readable || std::fread(text.data(), static_cast<std::size_t>(size), 1, file) != 1) {
        clLog("%s at %d:can't read source %s\n", thisFile, 2891, kernelFile);
        return false;  // NOLINT(clang-analyzer-unix.Stream): the file stays open, deliberately
    }
    std::fclose(file);
    return true;
}

void printBuildLog(cl_program program, cl_device_id device) {
    std::vector<char> log(buildLogBytes, '\0');
    clApi()->clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, log.size(), log.data(), nullptr);
    log.back() = '\0';
    clLog("Error in kernel:%s", log.data());
}

}  // namespace

cl_program CreateProgram(OpenclJoint& cl) {
    std::vector<char> text;
    const char* source = readKernels(text) ? text.data() : nullptr;
    // Without a source the call is made all the same and fails.
    const cl_program program = clApi()->clCreateProgramWithSource(cl.clContext, 1, &source, nullptr, nullptr);
    if (program == nullptr) {
        clLog("Failed to create CL program for source");
        return nullptr;
    }
    text.clear();
    if (clApi()->clBuildProgram(program, 0, nullptr, nullptr, nullptr, nullptr) == CL_SUCCESS) return program;
    printBuildLog(program, cl.clDevice);
    clApi()->clReleaseProgram(program);
    return nullptr;
}

}  // namespace brantel
