// The report, written line by line while the run goes on.
#pragma once

#include <cstdio>
#include <string>

namespace brantel::programs {

class ReportFile {
  public:
    /// @param name            a file, "-" for standard output, "" for no report
    /// @param standardOutput  where "-" leads
    /// Nothing is touched before the first line.
    ReportFile(std::string name, std::FILE* standardOutput)
        : name_(std::move(name)), standardOutput_(standardOutput) {}
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// Writes a line so that it is in the file when the program is killed next. After a failure, which is
    /// thrown once as OutputError, what was written stays readable and further lines are left out.
    void write(const std::string& line);

  private:
    void open();
    [[noreturn]] void fail(int error);

    std::string name_;
    std::FILE* standardOutput_;
    std::FILE* file_ = nullptr;
    std::uintmax_t written_ = 0;
    bool failed_ = false;
};

}  // namespace brantel::programs
