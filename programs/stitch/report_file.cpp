#include "stitch/report_file.h"

#include <cerrno>
#include <filesystem>

#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

ReportFile::~ReportFile() {
    if (file_ != nullptr && file_ != standardOutput_) std::fclose(file_);
}

void ReportFile::open() {
    file_ = name_ == "-" ? standardOutput_ : openFile(fs::u8path(name_), "wb");
    if (file_ == nullptr) fail(errno);
}

void ReportFile::write(const std::string& line) {
    if (name_.empty() || failed_) return;
    if (file_ == nullptr) open();
    errno = 0;
    if (std::fwrite(line.data(), 1, line.size(), file_) != line.size() || std::fflush(file_) != 0)
        fail(errno);
    written_ += line.size();
}

/// Part of a line may have got into the file; it goes again.
void ReportFile::fail(int error) {
    failed_ = true;
    const fs::path path = fs::u8path(name_ == "-" ? "standard output" : name_);
    if (file_ != nullptr && file_ != standardOutput_) {
        std::fclose(file_);
        file_ = nullptr;
        std::error_code ignored;
        if (fs::is_regular_file(path, ignored)) fs::resize_file(path, written_, ignored);
    }
    throw writeError(path, error != 0 ? error : EIO);
}

}  // namespace brantel::programs
