#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "stitch/library_log.h"
#include "system/files.h"

namespace brantel::programs {

namespace {

/// A file that is nowhere but in memory: the folder for temporary files may be read-only or full.
std::FILE* openInMemory() {
    const int descriptor = memfd_create("brantel-lines", MFD_CLOEXEC);
    return descriptor < 0 ? nullptr : fdopen(descriptor, "w+");
}

}  // namespace

LibraryLog::LibraryLog(const std::string& fileName) : keep_(!fileName.empty()) {
    std::fflush(stdout);
    log_ = keep_ ? std::fopen(fileName.c_str(), "w+") : openInMemory();
    const int original = dup(STDOUT_FILENO);
    own_ = original < 0 ? nullptr : fdopen(original, "w");
    if (log_ != nullptr && own_ != nullptr && dup2(fileno(log_), STDOUT_FILENO) >= 0) return;
    throw OutputError("cannot write the library's log " + fileName + ": " + std::strerror(errno));
}

LibraryLog::~LibraryLog() {
    std::fflush(stdout);
    std::fflush(own_);
    dup2(fileno(own_), STDOUT_FILENO);
    std::fclose(own_);
    std::fclose(log_);
}

std::string LibraryLog::newLines() {
    std::fflush(stdout);
    std::string lines;
    char part[4096];
    ssize_t count = 0;
    while ((count = pread(fileno(log_), part, sizeof part, read_)) > 0) {
        lines.append(part, static_cast<std::size_t>(count));
        read_ += count;
    }
    if (!keep_ && ftruncate(STDOUT_FILENO, 0) == 0 && lseek(STDOUT_FILENO, 0, SEEK_SET) == 0) read_ = 0;
    return lines;
}

}  // namespace brantel::programs
