// The table and the JSON of a run.
#pragma once

#include <string>
#include <vector>

#include "compare/outcome.h"

namespace brantel::bench {

double median(std::vector<double> values);

/// One contender over all rounds.
struct Row {
    std::string name;
    std::vector<Outcome> rounds;

    double medianMs() const;  // of all frames of all rounds
    double worstMs() const;
    double medianCpuMs() const;
    /// The median round's whole scan, per frame.
    double perFrameMs(std::size_t frames) const;
    double perFrameCpuMs(std::size_t frames) const;
    double peakMiB() const;
};

void printRows(const Scan& scan, const std::vector<Row>& rows);
void printStages(const Row& row);
nlohmann::json toJson(const Scan& scan, const std::vector<Row>& rows);

std::string processorName();

}  // namespace brantel::bench
