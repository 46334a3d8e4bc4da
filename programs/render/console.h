// What brantel-render says while it works.
#pragma once

#include <chrono>
#include <string>

#include "cancel.h"

namespace brantel::programs {

/// Messages on standard error, and on a terminal a line that shows how far the work has got.
class Console {
  public:
    explicit Console(bool quiet);

    /// Something is lost, or not as it was asked for.
    void error(const std::string& text);
    /// Something that a user may want to know; not with --quiet.
    void note(const std::string& text);
    /// On standard output; not with --quiet. False when it cannot be written.
    bool result(const std::string& text);

    /// Shows the progress of a step, and ends it when somebody asks for a stop.
    render::Progress progressOf(std::string step);
    /// Clears the line for other output.
    void clear();

  private:
    bool show(const std::string& step, std::size_t done, std::size_t total);

    bool quiet_;
    bool active_;
    std::chrono::steady_clock::time_point shown_{};
};

}  // namespace brantel::programs
