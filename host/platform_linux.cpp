#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files.h"
#include "platform.h"

namespace host {

bool isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

std::FILE* openFile(const std::filesystem::path& path, const char* mode) {
    return std::fopen(path.c_str(), mode);
}

Arguments::Arguments(int argc, char** argv) : texts_(argv, argv + argc) {
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
}

LibraryLog::LibraryLog(const std::string& fileName) : keep_(!fileName.empty()) {
    std::fflush(stdout);
    log_ = keep_ ? std::fopen(fileName.c_str(), "w+") : std::tmpfile();
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

}  // namespace host
