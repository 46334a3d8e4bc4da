#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "stitch/library_log.h"
#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace {

constexpr int standardOutput = 1;
constexpr unsigned roomForLines = 1 << 20;  // of one frame, many times over

HANDLE handleOf(std::FILE* file) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
}

/// Reads at an offset. Moves the handle's position.
DWORD readAt(HANDLE file, long long offset, char* to, DWORD bytes) {
    OVERLAPPED at{};
    at.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
    at.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD count = 0;
    return ReadFile(file, to, bytes, &count, &at) ? count : 0;
}

/// Standard output becomes the writing end of a pipe, whose reading end is returned: no file is needed.
std::FILE* redirectToPipe() {
    int ends[2] = {-1, -1};
    if (_pipe(ends, roomForLines, _O_BINARY) != 0) return nullptr;
    const bool redirected = _dup2(ends[1], standardOutput) >= 0;
    _close(ends[1]);
    return redirected ? _fdopen(ends[0], "rb") : nullptr;
}

std::string linesInPipe(HANDLE pipe) {
    std::string lines;
    DWORD waiting = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0) {
        std::string part(waiting, '\0');
        DWORD count = 0;
        if (!ReadFile(pipe, part.data(), waiting, &count, nullptr) || count == 0) break;
        lines.append(part, 0, count);
    }
    return lines;
}

}  // namespace

LibraryLog::LibraryLog(const std::string& fileName) : keep_(!fileName.empty()) {
    std::fflush(stdout);
    const int original = _dup(standardOutput);
    own_ = original < 0 ? nullptr : _fdopen(original, "w");
    if (keep_) {
        log_ = openFile(std::filesystem::u8path(fileName), "w+b");
        if (log_ != nullptr && own_ != nullptr && _dup2(_fileno(log_), standardOutput) >= 0) return;
    } else if (own_ != nullptr && (log_ = redirectToPipe()) != nullptr) {
        return;
    }
    throw OutputError("cannot write the library's log " + fileName + ": " + std::strerror(errno));
}

LibraryLog::~LibraryLog() {
    std::fflush(stdout);
    std::fflush(own_);
    _dup2(_fileno(own_), standardOutput);
    std::fclose(own_);
    std::fclose(log_);
}

std::string LibraryLog::newLines() {
    std::fflush(stdout);
    const HANDLE log = handleOf(log_);
    if (!keep_) return linesInPipe(log);
    std::string lines;
    char part[4096];
    while (const DWORD count = readAt(log, read_, part, sizeof part)) {
        lines.append(part, count);
        read_ += count;
    }
    SetFilePointerEx(log, LARGE_INTEGER{}, nullptr, FILE_END);
    return lines;
}

}  // namespace brantel::programs
