#include "system/file_identity.h"

#include <algorithm>
#include <map>

#include "system/files.h"
#include "system/platform.h"

namespace brantel::programs {

namespace fs = std::filesystem;

namespace {

std::string keyOf(const FileFacts& facts) {
    return std::to_string(facts.device) + ":" + std::to_string(facts.index);
}

/// As the file system will compare it, where that does not tell upper from lower case.
std::string nameAsCompared(const fs::path& path) {
    std::string name = path.filename().u8string();
#if defined(_WIN32)
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
#endif
    return name;
}

}  // namespace

std::optional<std::string> identityOf(const fs::path& path) {
    const std::optional<FileFacts> facts = factsOf(path);
    if (facts) return facts->regular ? std::optional<std::string>(keyOf(*facts)) : std::nullopt;
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    fs::path resolved = fs::weakly_canonical(absolute, error);
    if (error) resolved = absolute.lexically_normal();
    const std::optional<FileFacts> folder = factsOf(resolved.parent_path());
    const std::string place = folder ? keyOf(*folder) : resolved.parent_path().u8string();
    return place + "/" + nameAsCompared(resolved);
}

void requireDistinct(const std::vector<NamedFile>& inputs, const std::vector<NamedFile>& outputs) {
    std::map<std::string, std::string> taken;
    for (const NamedFile& input : inputs)
        if (const auto identity = identityOf(input.path)) taken.emplace(*identity, input.purpose);
    for (const NamedFile& output : outputs) {
        const auto identity = identityOf(output.path);
        if (!identity) continue;
        const auto [other, free] = taken.emplace(*identity, output.purpose);
        if (!free)
            throw InputError(output.path.u8string() + " is " + other->second + " and " + output.purpose +
                             " at once; choose another name for " + output.purpose);
    }
}

}  // namespace brantel::programs
