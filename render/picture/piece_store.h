// Reads a picture's frames ahead of their use and gives their memory back as their rows are passed.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <opencv2/core/mat.hpp>
#include <thread>
#include <vector>

#include "frame_reader.h"
#include "picture/layout.h"
#include "picture/pieces.h"

namespace brantel::render {

/// Used by one thread. The rows are kept with red before green before blue.
class PieceStore {
  public:
    /// @param memory  bytes for decoded frames, those that are just being decoded included; only what is needed at once
    ///                may take more
    PieceStore(const Layout& layout, FrameReader& frames, std::int64_t memory);
    PieceStore(const PieceStore&) = delete;
    PieceStore& operator=(const PieceStore&) = delete;
    ~PieceStore();

    /// In the order in which they are read.
    const std::vector<Piece>& pieces() const { return pieces_; }

    /// All pieces before this one are needed now.
    void need(std::size_t end);
    /// Waits for a piece that is needed; false when it cannot be read. Throws what reading any frame has thrown.
    bool wait(std::size_t piece);
    /// The first pixel of a frame's row in a piece that is there.
    const std::uint8_t* row(std::size_t piece, std::int32_t row) const {
        const std::int32_t inPiece = row - pieces_[piece].from;
        return kept_[piece].blocks[static_cast<std::size_t>(inPiece / blockRows)].ptr(inPiece % blockRows);
    }
    /// The picture's rows before this one are not needed any more, in these pieces.
    void giveBack(const std::vector<std::size_t>& pieces, std::int32_t row);

  private:
    enum class State { waiting, ready, unreadable };
    struct Kept {
        State state = State::waiting;
        std::vector<cv::Mat> blocks;
        std::size_t givenBack = 0;  ///< blocks, the first ones
    };

    bool mayRead() const;
    void readPieces();
    std::vector<cv::Mat> readPiece(const Piece& piece);
    std::vector<cv::Mat> takeBlocks(std::size_t count);
    void end();

    const Layout& layout_;
    FrameReader& frames_;
    const std::int64_t block_;  ///< bytes of one
    const std::int64_t memory_;
    const std::vector<Piece> pieces_;
    std::vector<Kept> kept_;

    std::mutex mutex_;  ///< over all below, and over what of kept_ is not ready
    std::condition_variable changed_;
    std::vector<cv::Mat> free_;  ///< blocks: memory that is used again does not fall into pieces
    std::int64_t held_ = 0;      ///< bytes of the blocks that are in use or about to be
    std::size_t next_ = 0;       ///< to be read
    std::size_t needed_ = 0;
    std::int32_t row_ = 0;  ///< of the picture, where it is worked at
    std::exception_ptr failure_;
    bool ended_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace brantel::render
