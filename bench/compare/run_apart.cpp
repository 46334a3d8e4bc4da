#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "compare/outcome.h"

namespace brantel::bench {

namespace {

/// Lets the kernel's peak of this process start again at what is resident now.
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// VmRSS or VmHWM of this process, MiB.
double memoryOf(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(field + ":", 0) == 0) return std::stod(line.substr(field.size() + 1)) / 1024.0;
    return 0;
}

[[noreturn]] void runHere(const std::function<Outcome()>& run, int answer) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);  // the library logs on standard output
    int status = 1;
    try {
        cv::setNumThreads(-1);  // OpenCV's own choice; the parent keeps it at 1, so that forking is safe
        resetPeak();
        const double before = memoryOf("VmRSS");
        Outcome outcome = run();
        outcome.peakMiB = memoryOf("VmHWM") - before;
        const std::string text = nlohmann::json(outcome).dump();
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t n = write(answer, text.data() + written, text.size() - written);
            if (n <= 0) break;
            written += static_cast<std::size_t>(n);
        }
        status = written == text.size() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    _exit(status);  // nothing of the parent is torn down twice
}

}  // namespace

Outcome runApart(const std::function<Outcome()>& run) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        close(ends[0]);
        runHere(run, ends[1]);
    }
    close(ends[1]);
    std::string text;
    char part[65536];
    for (ssize_t n = 0; (n = read(ends[0], part, sizeof part)) > 0;)
        text.append(part, static_cast<std::size_t>(n));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("the contender failed");
    return nlohmann::json::parse(text).get<Outcome>();
}

}  // namespace brantel::bench
