// What the pages of a TIFF stack are, by the description that microscopes' programs leave in it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "pictures/stored_file.h"

namespace brantel::programs {

/// Nothing when the pages are one frame each, or when the description says nothing about them.
/// @param description      the text in the file's first page: OME's XML or ImageJ's lines
/// @param pages            how many there are
/// @param samplesPerPixel  of the first page; OME counts the colours of a pixel as channels
std::optional<StackPlan> planOf(const std::string& description, std::size_t pages,
                                std::size_t samplesPerPixel);

/// How many pictures ImageJ keeps behind the first page of a file without giving them pages, as it does
/// beyond 4 GB; 0 for every other file.
std::size_t picturesWithoutPages(const std::string& description, std::size_t pages);

}  // namespace brantel::programs
