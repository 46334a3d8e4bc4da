// Runs the real programs as a user does, in the current directory.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace brantel::programs::test {

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

/// A line for the shell, in which $STITCH, $SCAN and, where it is tested, $RENDER are the programs.
Outcome shell(const std::string& line);

/// brantel-stitch with these arguments.
Outcome stitch(const std::string& arguments);

/// Makes a scan in a folder; fails the test when that does not work.
void scan(const std::string& arguments);

/// The latest lines of a report's frames, and its summary.
struct Report {
    std::vector<nlohmann::json> frames;
    nlohmann::json summary;
};
Report readReport(const std::string& name);

bool contains(const std::string& text, const std::string& part);

}  // namespace brantel::programs::test
