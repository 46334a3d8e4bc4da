#include "compare/report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <thread>

namespace brantel::bench {

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

namespace {

std::vector<double> allFrames(const std::vector<Outcome>& rounds, std::vector<double> Outcome::*series) {
    std::vector<double> all;
    for (const Outcome& round : rounds) all.insert(all.end(), (round.*series).begin(), (round.*series).end());
    return all;
}

double medianOf(const std::vector<Outcome>& rounds, double Outcome::*value) {
    std::vector<double> all;
    all.reserve(rounds.size());
    for (const Outcome& round : rounds) all.push_back(round.*value);
    return median(all);
}

const char* orDash(double value, const char* format, char (&text)[32]) {
    if (value <= 0) return "-";
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

double Row::medianMs() const {
    return median(allFrames(rounds, &Outcome::ms));
}

double Row::medianCpuMs() const {
    return median(allFrames(rounds, &Outcome::cpuMs));
}

double Row::worstMs() const {
    const std::vector<double> all = allFrames(rounds, &Outcome::ms);
    return all.empty() ? 0 : *std::max_element(all.begin(), all.end());
}

double Row::perFrameMs(std::size_t frames) const {
    return medianOf(rounds, &Outcome::allMs) / static_cast<double>(frames);
}

double Row::perFrameCpuMs(std::size_t frames) const {
    return medianOf(rounds, &Outcome::allCpuMs) / static_cast<double>(frames);
}

double Row::peakMiB() const {
    double peak = 0;
    for (const Outcome& round : rounds) peak = std::max(peak, round.peakMiB);
    return peak;
}

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

void printRows(const Scan& scan, const std::vector<Row>& rows) {
    std::printf("| %-22s | median ms | CPU ms | worst ms | scan ms/frame | scan CPU | peak MiB | right |\n",
                "per frame");
    std::printf("|%s|----------:|-------:|---------:|--------------:|---------:|---------:|------:|\n",
                std::string(24, '-').c_str());
    const std::size_t frames = scan.frames.size();
    for (const Row& row : rows) {
        char texts[6][32];
        const int right = row.rounds.front().right;
        char score[32] = "-";
        if (right >= 0) std::snprintf(score, sizeof score, "%d/%zu", right, frames);
        std::printf("| %-22s | %9s | %6s | %8s | %13s | %8s | %8s | %5s |\n", row.name.c_str(),
                    orDash(row.medianMs(), "%.2f", texts[0]), orDash(row.medianCpuMs(), "%.2f", texts[1]),
                    orDash(row.worstMs(), "%.1f", texts[2]), orDash(row.perFrameMs(frames), "%.2f", texts[3]),
                    orDash(row.perFrameCpuMs(frames), "%.2f", texts[4]),
                    orDash(row.peakMiB(), "%.0f", texts[5]), score);
    }
    for (const Row& row : rows)
        if (!row.rounds.front().note.empty())
            std::printf("%s: %s\n", row.name.c_str(), row.rounds.front().note.c_str());
}

void printStages(const Row& row) {
    std::map<std::string, std::vector<double>> stages;
    for (const Outcome& round : row.rounds)
        for (const auto& [stage, ms] : round.stages)
            stages[stage].insert(stages[stage].end(), ms.begin(), ms.end());
    std::vector<std::pair<double, std::string>> order;
    order.reserve(stages.size());
    for (const auto& [stage, ms] : stages) order.emplace_back(median(ms), stage);
    std::sort(order.rbegin(), order.rend());
    if (order.empty()) return;
    std::printf("\nStages of \"%s\", median ms (both frames together):\n", row.name.c_str());
    for (const auto& [ms, stage] : order) std::printf("  %-12s %8.3f\n", stage.c_str(), ms);
}

nlohmann::json toJson(const Scan& scan, const std::vector<Row>& rows) {
    nlohmann::json all = nlohmann::json::array();
    for (const Row& row : rows) {
        nlohmann::json entry{{"name", row.name},
                             {"median_ms", row.medianMs()},
                             {"median_cpu_ms", row.medianCpuMs()},
                             {"worst_ms", row.worstMs()},
                             {"scan_ms_per_frame", row.perFrameMs(scan.frames.size())},
                             {"scan_cpu_ms_per_frame", row.perFrameCpuMs(scan.frames.size())},
                             {"peak_mib", row.peakMiB()},
                             {"right", row.rounds.front().right},
                             {"note", row.rounds.front().note}};
        for (const auto& [stage, ms] : row.rounds.front().stages) entry["stages"][stage] = median(ms);
        all.push_back(entry);
    }
    return {{"picture", scan.source},          {"frames", scan.frames.size()},
            {"rows", scan.setup.rows},         {"columns", scan.setup.cols},
            {"channels", scan.setup.channels}, {"noise", scan.setup.noise},
            {"overlap", scan.setup.overlap},   {"contenders", all}};
}

}  // namespace brantel::bench
