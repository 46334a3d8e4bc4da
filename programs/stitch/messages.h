// What is said on standard error while a run goes on.
#pragma once

#include <string>

#include "stitch/progress.h"

namespace brantel::programs {

class Messages {
  public:
    Messages(bool quiet, Progress& progress) : quiet_(quiet), progress_(progress) {}

    /// Something is lost, or not as it was asked for.
    void error(const std::string& text);

    /// Something that a user may want to know; not with --quiet.
    void note(const std::string& text);

  private:
    bool quiet_;
    Progress& progress_;
};

}  // namespace brantel::programs
