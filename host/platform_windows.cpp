#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files.h"
#include "platform.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr int standardOutput = 1;

std::string toUtf8(const wchar_t* text) {
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), bytes, nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(bytes) - 1);  // without the final zero
    return utf8;
}

/// A file that the system removes when it is closed. std::tmpfile() wants the drive's root.
std::FILE* openTemporary() {
    wchar_t folder[MAX_PATH + 1];
    wchar_t name[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, L"brn", 0, name) == 0) return nullptr;
    return _wfopen(name, L"w+bTD");
}

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

void moveTo(HANDLE file, DWORD from) {
    SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, from);
}

}  // namespace

bool isTerminal(std::FILE* stream) {
    const HANDLE console = handleOf(stream);
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) return false;
    // Older consoles cannot be told where to write: as good as none.
    return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::FILE* openFile(const fs::path& path, const char* mode) {
    return _wfopen(path.wstring().c_str(), fs::u8path(mode).wstring().c_str());
}

Arguments::Arguments(int /*argc*/, char** /*argv*/) {
    // The ones of main() have lost whatever the system's code page does not know.
    SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i) texts_.push_back(toUtf8(wide[i]));
    LocalFree(wide);
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
}

LibraryLog::LibraryLog(const std::string& fileName) : keep_(!fileName.empty()) {
    std::fflush(stdout);
    log_ = keep_ ? openFile(fs::u8path(fileName), "w+b") : openTemporary();
    const int original = _dup(standardOutput);
    own_ = original < 0 ? nullptr : _fdopen(original, "w");
    if (log_ != nullptr && own_ != nullptr && _dup2(_fileno(log_), standardOutput) >= 0) return;
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
    const HANDLE file = handleOf(log_);
    std::string lines;
    char part[4096];
    while (const DWORD count = readAt(file, read_, part, sizeof part)) {
        lines.append(part, count);
        read_ += count;
    }
    if (keep_) {
        moveTo(file, FILE_END);
    } else {
        moveTo(file, FILE_BEGIN);
        SetEndOfFile(file);
        read_ = 0;
    }
    return lines;
}

}  // namespace host
