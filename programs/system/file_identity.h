// Whether two names lead to the same file.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace brantel::programs {

/// What a file is, whatever name it has: equal for two names of one file, links of both kinds included. A
/// file that does not exist yet is known by its folder and its name. Nothing for folders, devices and pipes,
/// which writing does not replace.
std::optional<std::string> identityOf(const std::filesystem::path& path);

/// A file that somebody has named, and what for: "the mosaic (-o)".
struct NamedFile {
    std::string purpose;
    std::filesystem::path path;
};

/// Throws InputError when one of the outputs is one of the inputs or another output.
void requireDistinct(const std::vector<NamedFile>& inputs, const std::vector<NamedFile>& outputs);

}  // namespace brantel::programs
