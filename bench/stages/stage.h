// One stage in two versions.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "stages/material.h"

namespace brantel::bench {

struct Twins {
    std::function<void()> plain;
    std::function<void()> library;
    std::function<void()> prepare;  // before every run, not measured; may be empty
};

struct Stage {
    std::string name;
    std::vector<std::int32_t> channels;  // of the frames it is measured with
    std::function<Twins(const Material&)> make;
};

std::vector<Stage> featureStages();
std::vector<Stage> estimationStages();
std::vector<Stage> judgementStages();
std::vector<Stage> composeStages();

}  // namespace brantel::bench
