// The frames of a picture as they are read: whole or in two halves, from top to bottom.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "picture/layout.h"

namespace brantel::render {

/// Rows of a frame that are read at one time.
struct Piece {
    std::size_t placed;   ///< index in the layout's frames
    std::int32_t from;    ///< the first of its rows, in the frame
    std::int32_t to;      ///< the one after its last, in the frame
    std::int32_t top;     ///< the first of its rows, in the picture
    std::int32_t bottom;  ///< the one after its last, in the picture
};

/// Rows are kept and given back in blocks of this many.
constexpr std::int32_t blockRows = 64;

/// Bytes of a block and of all blocks of a piece. The last one of a piece may be partly used.
std::int64_t blockBytes(const Layout& layout);
std::int64_t bytesOf(const Piece& piece, std::int64_t block);

/// All pieces in the order of their top rows; those with the same one in the order of taking. Frames are whole as long
/// as the blocks that any row of the picture needs take no more than `memory` bytes, else halves.
std::vector<Piece> cutIntoPieces(const Layout& layout, std::int64_t memory);

}  // namespace brantel::render
