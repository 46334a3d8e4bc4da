#include "picture/pieces.h"

#include <algorithm>
#include <opencv2/core/mat.hpp>

namespace brantel::render {

namespace {

std::int32_t blocksOf(std::int32_t rows) {
    return (rows + blockRows - 1) / blockRows;
}

std::vector<Piece> cut(const Layout& layout, std::int32_t parts) {
    const std::int32_t rows = layout.frameSize.height;
    std::vector<Piece> pieces;
    pieces.reserve(layout.frames.size() * static_cast<std::size_t>(parts));
    for (std::size_t i = 0; i < layout.frames.size(); ++i)
        for (std::int32_t part = 0, from = 0; part < parts; ++part) {
            const std::int32_t to = part + 1 == parts ? rows : rows / parts;
            const std::int32_t top = layout.frames[i].at.y;
            if (from < to) pieces.push_back({i, from, to, top + from, top + to});
            from = to;
        }
    std::stable_sort(pieces.begin(), pieces.end(),
                     [](const Piece& one, const Piece& other) { return one.top < other.top; });
    return pieces;
}

/// What the most demanding row needs, when pieces are read as late and given back as early as possible.
std::int64_t mostBytes(const std::vector<Piece>& pieces, std::int64_t block) {
    std::int64_t most = 0;
    std::size_t first = 0;  // pieces before it have ended
    for (std::size_t last = 0; last < pieces.size(); ++last) {
        const std::int32_t row = pieces[last].top;
        if (last + 1 < pieces.size() && pieces[last + 1].top == row) continue;
        while (pieces[first].bottom <= row) ++first;
        std::int64_t bytes = 0;
        for (std::size_t i = first; i <= last; ++i) {
            const std::int32_t passed = std::max(0, row - pieces[i].top) / blockRows;
            if (pieces[i].bottom > row) bytes += block * (blocksOf(pieces[i].to - pieces[i].from) - passed);
        }
        most = std::max(most, bytes);
    }
    return most;
}

}  // namespace

std::int64_t blockBytes(const Layout& layout) {
    return static_cast<std::int64_t>(CV_ELEM_SIZE(layout.type)) * layout.frameSize.width *
           std::min(blockRows, layout.frameSize.height);
}

std::int64_t bytesOf(const Piece& piece, std::int64_t block) {
    return block * blocksOf(piece.to - piece.from);
}

std::vector<Piece> cutIntoPieces(const Layout& layout, std::int64_t memory) {
    std::vector<Piece> whole = cut(layout, 1);
    return mostBytes(whole, blockBytes(layout)) <= memory ? whole : cut(layout, 2);
}

}  // namespace brantel::render
