#include "api/process_log.h"

#include <cstdio>

#include "platform/platform.h"

namespace brantel {

namespace {

class ProcessLogSink final : public LogSink {
  public:
    void debugLine(const char* text) override { platform::debugOutput(text); }
    void write(const char* text, std::size_t length) override {
        std::fwrite(text, 1, length, stdout);
        std::fflush(stdout);
    }
};

}  // namespace

LogSink& processLogSink() {
    static LogSink& sink = *new ProcessLogSink;  // the workers of a process that ends may still write
    return sink;
}

}  // namespace brantel
