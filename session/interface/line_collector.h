// Takes an engine's lines from all its threads and hands them to the host on the host's own.
#pragma once

#include <mutex>
#include <string>

#include "common/log.h"

namespace brantel::session {

class LineCollector final : public LogSink {
  public:
    using Callback = void (*)(void* user, const char* line);

    /// Without a callback nothing is kept.
    LineCollector(Callback callback, void* user) : callback_(callback), user_(user) {}

    void debugLine(const char* text) override;
    void write(const char* text, std::size_t length) override;
    /// Hands over, line by line, what has come since the last time.
    void deliver() noexcept;

  private:
    Callback callback_;
    void* user_;
    std::mutex mutex_;
    std::string text_;
};

}  // namespace brantel::session
