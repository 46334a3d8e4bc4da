#include "system/files.h"

#include <cerrno>
#include <cstring>

#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

bool noRoom(int error) {
#if defined(EDQUOT)
    if (error == EDQUOT) return true;
#endif
    return error == ENOSPC || error == EFBIG;
}

int errorOr(int otherwise) {
    return errno != 0 ? errno : otherwise;
}

/// Makes a file beside the given one that did not exist before; its name goes to `name`.
std::FILE* createBeside(const fs::path& file, fs::path& name) {
    constexpr int tries = 100;  // names that runs left which were ended by force
    for (int k = 1; k <= tries; ++k) {
        name = file;
        name += k == 1 ? ".part" : ".part" + std::to_string(k);
        std::FILE* stream = createFile(name);
        if (stream != nullptr || errno != EEXIST) return stream;
    }
    return nullptr;
}

}  // namespace

OutputError writeError(const fs::path& path, int error) {
    const char* wayOut = noRoom(error) ? "; make room or choose another place"
                                       : "; choose a folder that exists and may be written to";
    return OutputError("cannot write " + path.u8string() + ": " + std::strerror(error) + wayOut);
}

std::vector<std::uint8_t> readFile(const fs::path& path) {
    std::vector<std::uint8_t> bytes;
    std::FILE* file = openFile(path, "rb");
    if (file == nullptr) return bytes;
    constexpr std::size_t atLeast = 1 << 16;
    const std::optional<FileFacts> facts = factsOf(path);
    std::size_t room = facts && facts->bytes > 0 ? static_cast<std::size_t>(facts->bytes) + 1 : atLeast;
    std::size_t size = 0;
    for (;;) {
        bytes.resize(room);
        size += std::fread(bytes.data() + size, 1, room - size, file);
        if (size < room) break;
        room += room / 2;  // it has grown since it was asked about, or is no file on a disk
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    bytes.resize(failed ? 0 : size);
    return bytes;
}

NewFile::NewFile(const fs::path& path) : asked_(path) {
    std::error_code error;
    if (fs::is_directory(path, error))
        throw OutputError("cannot write " + path.u8string() + ": it is a folder");
    file_ = fs::weakly_canonical(path, error);
    if (error) file_ = path;
    errno = 0;
    if (!fs::exists(file_, error) || fs::is_regular_file(file_, error)) {
        stream_ = createBeside(file_, written_);
    } else {
        written_ = file_;
        stream_ = openFile(file_, "wb");
    }
    if (stream_ == nullptr) throw writeError(asked_, errorOr(EIO));
}

NewFile::~NewFile() {
    if (stream_ == nullptr) return;
    std::fclose(stream_);
    remove();
}

void NewFile::remove() {
    std::error_code ignored;
    if (!direct()) fs::remove(written_, ignored);
}

void NewFile::write(const void* bytes, std::size_t size) {
    errno = 0;
    if (std::fwrite(bytes, 1, size, stream_) != size) throw writeError(asked_, errorOr(EIO));
}

/// Buffered bytes may fail as late as in the closing.
void NewFile::commit() {
    errno = 0;
    const bool flushed = std::fflush(stream_) == 0;
    int failure = flushed ? 0 : errorOr(EIO);
    errno = 0;
    if (std::fclose(stream_) != 0 && failure == 0) failure = errorOr(EIO);
    stream_ = nullptr;
    std::error_code error;
    if (failure == 0 && !direct()) fs::rename(written_, file_, error);
    if (failure == 0 && !error) return;
    remove();
    throw writeError(asked_, failure != 0 ? failure : error.value());
}

void writeFile(const fs::path& path, const void* bytes, std::size_t size) {
    NewFile file(path);
    file.write(bytes, size);
    file.commit();
}

void writeFile(const fs::path& path, const std::string& text) {
    writeFile(path, text.data(), text.size());
}

void requireWritable(const fs::path& path) {
    std::error_code error;
    const bool special = fs::exists(path, error) && !fs::is_regular_file(path, error) &&
                         !fs::is_directory(path, error);  // opening a pipe would wait for its reader
    if (special) return;
    const NewFile trial(path);
}

}  // namespace brantel::programs
