#include "stitch/library_log.h"

#include <cerrno>
#include <filesystem>

#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

LibraryLog::LibraryLog(const std::string& fileName) {
    if (fileName.empty()) return;
    const std::filesystem::path path = std::filesystem::u8path(fileName);
    file_ = openFile(path, "wb");
    if (file_ == nullptr) throw writeError(path, errno);
}

LibraryLog::~LibraryLog() {
    if (file_ != nullptr) std::fclose(file_);
}

void LibraryLog::write(void* log, const char* line) {
    std::FILE* file = static_cast<LibraryLog*>(log)->file_;
    std::fprintf(file, "%s\n", line);
    std::fflush(file);
}

}  // namespace brantel::programs
