#include "stitch/messages.h"

#include <cstdio>

namespace brantel::programs {

void Messages::error(const std::string& text) {
    progress_.clear();
    std::fprintf(stderr, "brantel-stitch: %s\n", text.c_str());
}

void Messages::note(const std::string& text) {
    if (!quiet_) error(text);
}

}  // namespace brantel::programs
