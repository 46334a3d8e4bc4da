// One stage in two versions.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "silent_log.h"
#include "stages/material.h"

namespace brantel::bench {

struct Versions {
    std::function<void()> reference;
    std::function<void()> library;
    std::function<void()> prepare;  // before every run, not measured; may be empty
};

struct Stage {
    std::string name;
    std::vector<std::int32_t> channels;  // of the frames it is measured with
    std::function<Versions(const Material&)> make;
};

std::vector<Stage> featureStages();
std::vector<Stage> estimationStages();
std::vector<Stage> acceptanceStages();
std::vector<Stage> composeStages();

}  // namespace brantel::bench
