#include "picture/replacement.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace brantel::render {

namespace fs = std::filesystem;

namespace {

constexpr const char* temporaryFolder = "TMPDIR";

/// Files renamed, and back again unless all of them could be.
class Renamings {
  public:
    Renamings() = default;
    Renamings(const Renamings&) = delete;
    Renamings& operator=(const Renamings&) = delete;
    ~Renamings() {
        std::error_code ignored;
        for (; !done_.empty(); done_.pop_back()) fs::rename(done_.back().to, done_.back().from, ignored);
    }

    void rename(const fs::path& from, const fs::path& to) {
        Step step{from, to};
        done_.reserve(done_.size() + 1);
        fs::rename(from, to);
        done_.push_back(std::move(step));
    }
    void keep() { done_.clear(); }

  private:
    struct Step {
        fs::path from;
        fs::path to;
    };
    std::vector<Step> done_;
};

}  // namespace

Replacement::Replacement(const fs::path& file) {
    std::string name = (file.parent_path() / ".brantel-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("nothing can be written beside " + file.string() + ": " +
                                 std::strerror(errno));
    folder_ = fs::absolute(name);
    if (const char* before = ::getenv(temporaryFolder)) before_ = before;
    ::setenv(temporaryFolder, folder_.c_str(), 1);
}

Replacement::~Replacement() {
    if (before_.empty())
        ::unsetenv(temporaryFolder);
    else
        ::setenv(temporaryFolder, before_.c_str(), 1);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void Replacement::moveTo(const std::vector<std::string>& names, const std::vector<fs::path>& places) {
    Renamings renamings;
    try {
        for (std::size_t i = 0; i < names.size(); ++i) {
            const fs::path made = folder_ / names[i];
            const fs::file_status old = fs::status(places[i]);
            if (fs::exists(old) && fs::is_directory(old) != fs::is_directory(made))
                throw std::runtime_error(places[i].string() +
                                         (fs::is_directory(old) ? " is a folder" : " is no folder"));
            // A file is replaced by renaming and is never missing. A folder cannot be, so that one of several steps aside.
            if (names.size() > 1 && fs::exists(old))
                renamings.rename(places[i], folder_ / ("old-" + std::to_string(i)));
            renamings.rename(made, places[i]);
        }
    } catch (const fs::filesystem_error& error) {
        throw std::runtime_error("what was made cannot be moved to its place: " + std::string(error.what()));
    }
    renamings.keep();
}

}  // namespace brantel::render
