// Where steps and engines that are tried by themselves write their lines.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "api/process_log.h"

namespace brantel::test {

/// A log onto standard output, where captureLines() finds it.
inline const Log& toOutput() {
    static const Log log(processLogSink());
    return log;
}

/// Keeps what it is given.
class RecordingSink final : public LogSink {
  public:
    void debugLine(const char* text) override {
        const std::lock_guard<std::mutex> hold(mutex_);
        debugLines_.emplace_back(text);
    }
    void write(const char* text, std::size_t length) override {
        const std::lock_guard<std::mutex> hold(mutex_);
        text_.append(text, length);
    }

    std::string text() const {
        const std::lock_guard<std::mutex> hold(mutex_);
        return text_;
    }
    std::vector<std::string> debugLines() const {
        const std::lock_guard<std::mutex> hold(mutex_);
        return debugLines_;
    }

  private:
    mutable std::mutex mutex_;
    std::string text_;
    std::vector<std::string> debugLines_;
};

}  // namespace brantel::test
