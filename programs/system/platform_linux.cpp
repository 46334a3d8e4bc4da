#include "system/platform.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brantel::programs {

namespace {

constexpr int waitForInput = 100;  // milliseconds
bool standardOutputGiven = true;

}  // namespace

bool isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

std::FILE* openFile(const std::filesystem::path& path, const char* mode) {
    return std::fopen(path.c_str(), mode);
}

std::FILE* createFile(const std::filesystem::path& path) {
    return std::fopen(path.c_str(), "wbx");
}

std::optional<FileFacts> factsOf(const std::filesystem::path& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0) return std::nullopt;
    FileFacts facts;
    facts.device = found.st_dev;
    facts.index = found.st_ino;
    facts.bytes = found.st_size;
    facts.modified = std::int64_t{found.st_mtim.tv_sec} * 1000000000 + found.st_mtim.tv_nsec;
    facts.regular = S_ISREG(found.st_mode);
    facts.characterDevice = S_ISCHR(found.st_mode);
    return facts;
}

void fillStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1) continue;
        if (descriptor == STDOUT_FILENO) standardOutputGiven = false;
        // Takes the lowest free descriptor, which is this one: those below are open by now.
        if (open("/dev/null", O_RDWR) < 0) return;
    }
}

bool hasStandardOutput() {
    return standardOutputGiven;
}

StandardInput::StandardInput() : descriptor_(fcntl(STDIN_FILENO, F_DUPFD, STDERR_FILENO + 1)) {}

StandardInput::~StandardInput() {
    if (descriptor_ >= 0) close(descriptor_);
}

std::ptrdiff_t StandardInput::readSome(void* to, std::size_t bytes) {
    pollfd input{descriptor_, POLLIN, 0};
    if (poll(&input, 1, waitForInput) <= 0) return descriptor_ < 0 ? -1 : 0;
    const ssize_t count = read(descriptor_, to, bytes);
    return count > 0 ? count : -1;
}

Arguments::Arguments(int argc, char** argv) : texts_(argv, argv + argc) {
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
}

}  // namespace brantel::programs
