// What one contender made of a scan, and how it travels from the process that ran it.
#pragma once

#include <time.h>

#include <chrono>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "compare/scan.h"

namespace brantel::bench {

struct Outcome {
    std::vector<double> ms;     // of every frame that was handed over one at a time
    std::vector<double> cpuMs;  // processor time of the same, all threads together
    double allMs = 0;           // the whole scan, with what comes after the last frame
    double allCpuMs = 0;
    int right = -1;      // frames within 2 pixels of the truth; -1: it finds no positions
    double peakMiB = 0;  // beyond the frames themselves
    std::map<std::string, std::vector<double>> stages;
    std::string note;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Outcome, ms, cpuMs, allMs, allCpuMs, right, peakMiB, stages, note)

struct Contender {
    std::string name;
    std::function<Outcome(const Scan&)> run;
};

/// Milliseconds since construction, of the clock on the wall and of the processor on all threads of the
/// process. The second hardly changes when other programs are busy.
class Stopwatch {
  public:
    double ms() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }
    double cpuMs() const { return cpuNow() - cpuStart_; }

    void addFrame(Outcome& outcome) const {
        outcome.ms.push_back(ms());
        outcome.cpuMs.push_back(cpuMs());
    }
    void endScan(Outcome& outcome) const {
        outcome.allMs = ms();
        outcome.allCpuMs = cpuMs();
    }

  private:
    static double cpuNow() {
        timespec now{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
    }

    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    double cpuStart_ = cpuNow();
};

/// True within 2 pixels per axis.
inline bool isRight(cv::Point found, cv::Point truth) {
    return std::abs(found.x - truth.x) <= 2 && std::abs(found.y - truth.y) <= 2;
}

/// Runs a contender in a process of its own: nobody's memory, threads or caches are another's.
/// Throws when it fails.
Outcome runApart(const std::function<Outcome()>& run);

}  // namespace brantel::bench
