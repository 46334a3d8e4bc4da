// TIFF files as other programs write them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace brantel::programs::test {

/// How the samples of every page are stored; the fields have libtiff's values.
struct TiffKind {
    int bits = 16;
    int samples = 1;
    int format = 1;
    int planes = 1;
    int colours = 1;
    int compression = 1;
    bool tiled = false;
};

struct TiffPages {
    int count = 1;
    int width = 40;
    int height = 30;
    std::string description = {};
    std::vector<int> reduced = {};  ///< pages that are small copies of others
};

/// The value of a sample: page, row, column and channel.
using SampleOf = std::function<double(int page, int row, int column, int channel)>;

void writeTiffFile(const std::string& name, const TiffKind& kind, const TiffPages& pages,
                   const SampleOf& sample);

}  // namespace brantel::programs::test
