// What an engine says, per channel.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "common/log.h"

namespace brantel::test {

using Lines = std::vector<std::string>;

/// Raw text of the stream (some of its texts have no line end) and lines for the debugger.
struct Spoken {
    std::string output;
    Lines debug;

    /// The text split into lines, without line ends.
    Lines outputLines() const {
        Lines lines;
        for (std::size_t at = 0; at < output.size();) {
            const std::size_t end = std::min(output.find('\n', at), output.size());
            lines.push_back(output.substr(at, end - at));
            at = end + 1;
        }
        return lines;
    }
};

class RecordedLines final : public LogSink {
  public:
    void debugLine(const char* text) override {
        const std::lock_guard<std::mutex> hold(lock_);
        spoken_.debug.emplace_back(text);
    }
    void write(const char* text, std::size_t length) override {
        const std::lock_guard<std::mutex> hold(lock_);
        spoken_.output.append(text, length);
    }
    /// Everything since the last time.
    Spoken take() {
        const std::lock_guard<std::mutex> hold(lock_);
        return std::exchange(spoken_, {});
    }

  private:
    std::mutex lock_;
    Spoken spoken_;
};

}  // namespace brantel::test
