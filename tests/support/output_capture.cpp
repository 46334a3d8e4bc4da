#include "support/output_capture.h"

#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "support/scratch_directory.h"

#if defined(_WIN32)
#include <io.h>
#include <sys/stat.h>
#else
#include <unistd.h>
#endif

namespace brantel::test {

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
int openForWriting(const fs::path& path) {
    return _open(path.string().c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT, _S_IREAD | _S_IWRITE);
}
int duplicate(int file) {
    return _dup(file);
}
void duplicateTo(int file, int target) {
    _dup2(file, target);
}
void closeFile(int file) {
    _close(file);
}
#else
int openForWriting(const fs::path& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
}
int duplicate(int file) {
    return dup(file);
}
void duplicateTo(int file, int target) {
    dup2(file, target);
}
void closeFile(int file) {
    close(file);
}
#endif

constexpr int standardOutput = 1;

void flushAll() {
    std::cout.flush();
    std::fflush(stdout);
}

std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();  // Windows text mode
        lines.push_back(line);
    }
    return lines;
}

/// Standard output goes to a file for the life of this object.
class Redirection {
  public:
    explicit Redirection(const fs::path& path) {
        flushAll();
        saved_ = duplicate(standardOutput);
        const int file = openForWriting(path);
        duplicateTo(file, standardOutput);
        closeFile(file);
    }
    ~Redirection() {
        flushAll();
        duplicateTo(saved_, standardOutput);
        closeFile(saved_);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

  private:
    int saved_ = -1;
};

}  // namespace

std::string captureOutput(const std::function<void()>& run) {
    const fs::path path = uniqueTemporaryName("brantel-output");
    {
        const Redirection redirection(path);
        run();
    }
    std::string text = contentsOf(path);
    fs::remove(path);
    return text;
}

std::vector<std::string> captureLines(const std::function<void()>& run) {
    return split(captureOutput(run));
}

#if !defined(_WIN32)  // Windows: debug_capture_windows.cpp
std::vector<std::string> captureDebugLines(const std::function<void()>& run) {
    const fs::path path = uniqueTemporaryName("brantel-debug");
    const char* before = std::getenv("BRANTEL_DEBUG_OUTPUT");
    const std::string old = before == nullptr ? "" : before;
    setenv("BRANTEL_DEBUG_OUTPUT", path.c_str(), 1);
    run();
    if (before == nullptr) {
        unsetenv("BRANTEL_DEBUG_OUTPUT");
    } else {
        setenv("BRANTEL_DEBUG_OUTPUT", old.c_str(), 1);
    }
    std::vector<std::string> lines = split(contentsOf(path));
    std::error_code ignored;
    fs::remove(path, ignored);
    return lines;
}
#endif

}  // namespace brantel::test
