// What a file is, by its first bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace brantel::programs {

/// For instance "a TIFF picture" or "a Zeiss CZI file"; "" for what is not known.
std::string kindOf(const std::vector<std::uint8_t>& firstBytes);

/// The same for a file; "empty" for one without bytes, "" also for one that cannot be read.
std::string kindOf(const std::filesystem::path& path);

/// True for what says that it is DICOM, whatever else it looks like.
bool hasSignOfDicom(const std::vector<std::uint8_t>& firstBytes);

}  // namespace brantel::programs
