// The lines that a mosaic writes, and where they go.
#pragma once

#include <cstddef>
#include <cstdint>

namespace brantel {

/// Takes the lines of one mosaic. They come from its host thread and from its workers, also at the same time.
class LogSink {
  public:
    LogSink() = default;
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;
    virtual ~LogSink() = default;

    /// One line for the debugger, without line end.
    virtual void debugLine(const char* text) = 0;
    /// Text for the stream with its line ends, to be written in one piece, so that lines of two threads never
    /// tear each other.
    virtual void write(const char* text, std::size_t length) = 0;
};

/// The three channels over a sink. Part of a mosaic's state and handed to every step that has something to
/// say.
class Log {
  public:
    explicit Log(LogSink& sink) : sink_(&sink) {}

    /// One line for the debugger.
    void debugLine(const char* text) const { sink_->debugLine(text); }
    /// One line on the stream.
    void streamLine(const char* text) const;
    /// The same with a number right behind the text.
    void streamLine(const char* text, std::int64_t number) const;
    /// Formats like printf onto the stream, as the text stands (no line end is added).
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    clLog(const char* format, ...) const;

  private:
    LogSink* sink_;
};

}  // namespace brantel
