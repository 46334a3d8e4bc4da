#include "system/platform.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

constexpr int standardInput = 0;
constexpr unsigned mostAtOnce = 1 << 20;
bool standardOutputGiven = true;

std::string toUtf8(const wchar_t* text) {
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), bytes, nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(bytes) - 1);  // without the final zero
    return utf8;
}

HANDLE handleOf(std::FILE* file) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
}

std::uint64_t joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

/// The system counts units of 100 ns since 1601.
std::int64_t nanosecondsSince1970(const FILETIME& time) {
    constexpr std::int64_t from1601To1970 = 116444736000000000;
    return (static_cast<std::int64_t>(joined(time.dwHighDateTime, time.dwLowDateTime)) - from1601To1970) *
           100;
}

}  // namespace

bool isTerminal(std::FILE* stream) {
    const HANDLE console = handleOf(stream);
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) return false;
    if (_fileno(stream) == standardInput) return true;
    // Older consoles cannot be told where to write: as good as none.
    return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::FILE* openFile(const fs::path& path, const char* mode) {
    return _wfopen(path.wstring().c_str(), fs::u8path(mode).wstring().c_str());
}

std::FILE* createFile(const fs::path& path) {
    const int descriptor =
        _wopen(path.wstring().c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    return descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
}

std::optional<FileFacts> factsOf(const fs::path& path) {
    const HANDLE file = CreateFileW(path.wstring().c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) return std::nullopt;
    BY_HANDLE_FILE_INFORMATION found{};
    const bool known = GetFileInformationByHandle(file, &found) != 0;
    const bool onDisk = GetFileType(file) == FILE_TYPE_DISK;
    CloseHandle(file);
    if (!known) return std::nullopt;
    FileFacts facts;
    facts.device = found.dwVolumeSerialNumber;
    facts.index = joined(found.nFileIndexHigh, found.nFileIndexLow);
    facts.bytes = static_cast<std::int64_t>(joined(found.nFileSizeHigh, found.nFileSizeLow));
    facts.modified = nanosecondsSince1970(found.ftLastWriteTime);
    facts.regular = onDisk && (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return facts;
}

void fillStandardStreams() {
    standardOutputGiven = _fileno(stdout) >= 0 && _get_osfhandle(_fileno(stdout)) >= 0;
    for (std::FILE* stream : {stdin, stdout, stderr})
        if (_fileno(stream) < 0 || _get_osfhandle(_fileno(stream)) < 0)
            _wfreopen(L"NUL", stream == stdin ? L"r" : L"w", stream);
}

bool hasStandardOutput() {
    return standardOutputGiven;
}

StandardInput::StandardInput() : descriptor_(_dup(standardInput)) {
    if (descriptor_ >= 0) _setmode(descriptor_, _O_BINARY);
}

StandardInput::~StandardInput() {
    if (descriptor_ >= 0) _close(descriptor_);
}

std::ptrdiff_t StandardInput::readSome(void* to, std::size_t bytes) {
    if (descriptor_ < 0) return -1;
    const HANDLE input = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor_));
    DWORD waiting = 0;
    if (GetFileType(input) == FILE_TYPE_PIPE &&
        PeekNamedPipe(input, nullptr, 0, nullptr, &waiting, nullptr) && waiting == 0) {
        Sleep(10);
        return 0;
    }
    const unsigned wanted = bytes < mostAtOnce ? static_cast<unsigned>(bytes) : mostAtOnce;
    const int count = _read(descriptor_, to, wanted);
    return count > 0 ? count : -1;
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

}  // namespace brantel::programs
