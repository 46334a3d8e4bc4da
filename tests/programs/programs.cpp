#include "programs.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace brantel::programs::test {

namespace {

std::string contents(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

Outcome shell(const std::string& line) {
    setenv("STITCH", BRANTEL_STITCH, 1);
    setenv("SCAN", BRANTEL_SCAN, 1);
#if defined(BRANTEL_RENDER)
    setenv("RENDER", BRANTEL_RENDER, 1);
#endif
    const int status = std::system(("{ " + line + "\n} >out.txt 2>err.txt </dev/null").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contents("out.txt"),
            contents("err.txt")};
}

Outcome stitch(const std::string& arguments) {
    return shell("$STITCH " + arguments);
}

void scan(const std::string& arguments) {
    const Outcome outcome = shell("$SCAN " + arguments);
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
}

Report readReport(const std::string& name) {
    Report report;
    std::ifstream file(name);
    for (std::string line; std::getline(file, line);) {
        const nlohmann::json entry = nlohmann::json::parse(line);
        if (entry.contains("summary")) report.summary = entry["summary"];
        if (!entry.contains("frame")) continue;
        const std::size_t number = entry["frame"];
        if (report.frames.size() < number) report.frames.resize(number);
        report.frames[number - 1] = entry;
    }
    return report;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace brantel::programs::test
