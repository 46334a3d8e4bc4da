// The options of brantel-stitch in groups, as its help tells them.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "stitch/options.h"

namespace brantel::programs {

void describeInput(CLI::App& app, Options& options);
void describeReading(CLI::App& app, Options& options);
void describeOutput(CLI::App& app, Options& options);
void describeTrack(CLI::App& app, Options& options);
void describeTests(CLI::App& app, Options& options);
void describePositions(CLI::App& app, Options& options);

/// An option whose text a function turns into a value, or into nothing when it is wrong.
template <class Parse, class Value>
CLI::Option* addParsed(CLI::App& app, const char* name, Value& value, Parse parse, const char* example,
                       const char* description) {
    return app.add_option_function<std::string>(
        name,
        [&value, parse, name, example](const std::string& text) {
            const auto parsed = parse(text);
            if (!parsed)
                throw CLI::ValidationError(name, text + " is not understood; for instance " + example);
            value = *parsed;
        },
        description);
}

}  // namespace brantel::programs
