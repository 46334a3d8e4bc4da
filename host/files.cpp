#include "files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

#include "platform.h"

namespace host {

namespace fs = std::filesystem;

namespace {

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

/// How a file is written: under another name first, or directly when the name stands for something that
/// must not be replaced, such as a pipe or a device. Links are followed.
struct Target {
    fs::path file;
    fs::path written;

    explicit Target(const fs::path& path) {
        std::error_code error;
        file = written = fs::weakly_canonical(path, error);
        if (error) file = written = path;
        if (!fs::exists(file, error) || fs::is_regular_file(file, error)) written += ".part";
    }
    bool direct() const { return written == file; }
};

bool noRoom(int error) {
#if defined(EDQUOT)
    if (error == EDQUOT) return true;
#endif
    return error == ENOSPC || error == EFBIG;
}

[[noreturn]] void fail(const fs::path& path, int error) {
    const char* wayOut = noRoom(error) ? "; make room or choose another place"
                                       : "; choose a folder that exists and may be written to";
    throw OutputError("cannot write " + path.u8string() + ": " + std::strerror(error) + wayOut);
}

File create(const Target& target) {
    File file(openFile(target.written, "wb"));
    if (!file) fail(target.file, errno);
    return file;
}

void removeFile(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

/// 0, or the error number. Buffered bytes may fail as late as in the closing.
int writeAndClose(File file, const void* bytes, std::size_t size) {
    errno = 0;
    const bool written = std::fwrite(bytes, 1, size, file.get()) == size && std::fflush(file.get()) == 0;
    const int writeError = written ? 0 : (errno != 0 ? errno : EIO);
    const bool closed = std::fclose(file.release()) == 0;
    if (writeError != 0) return writeError;
    return closed ? 0 : (errno != 0 ? errno : EIO);
}

}  // namespace

std::vector<std::uint8_t> readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const void* bytes, std::size_t size) {
    const Target target(path);
    const int writeError = writeAndClose(create(target), bytes, size);
    std::error_code error;
    if (writeError == 0 && !target.direct()) fs::rename(target.written, target.file, error);
    if (writeError == 0 && !error) return;
    if (!target.direct()) removeFile(target.written);
    fail(path, writeError != 0 ? writeError : error.value());
}

void writeFile(const fs::path& path, const std::string& text) {
    writeFile(path, text.data(), text.size());
}

void requireWritable(const fs::path& path) {
    if (fs::is_directory(path)) throw OutputError("cannot write " + path.u8string() + ": it is a folder");
    const Target target(path);
    if (target.direct()) return;
    create(target);
    removeFile(target.written);
}

}  // namespace host
