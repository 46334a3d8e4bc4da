#include "picture/piece_store.h"

#include <algorithm>
#include <cstring>

namespace brantel::render {

namespace {

/// Decoding is what takes time; more would only hold more frames at once.
constexpr std::int32_t readers = 2;
/// No frame is read earlier than this many frames' heights above its first row.
constexpr std::int64_t heightsAhead = 2;

std::int64_t frameBytes(const Layout& layout) {
    return static_cast<std::int64_t>(CV_ELEM_SIZE(layout.type)) * layout.frameSize.area();
}

template <typename Sample>
void copyReversed(const Sample* from, std::int32_t pixels, Sample* to) {
    for (std::int32_t x = 0; x < pixels; ++x, from += 3, to += 3) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
    }
}

/// Blue, green, red becomes red, green, blue.
void copyRow(const cv::Mat& frame, std::int32_t row, std::uint8_t* to) {
    if (frame.channels() == 1)
        std::memcpy(to, frame.ptr(row), frame.elemSize() * static_cast<std::size_t>(frame.cols));
    else if (frame.depth() == CV_8U)
        copyReversed(frame.ptr(row), frame.cols, to);
    else
        copyReversed(frame.ptr<std::uint16_t>(row), frame.cols, reinterpret_cast<std::uint16_t*>(to));
}

}  // namespace

PieceStore::PieceStore(const Layout& layout, FrameReader& frames, std::int64_t memory)
    : layout_(layout),
      frames_(frames),
      block_(blockBytes(layout)),
      memory_(std::max<std::int64_t>(0, memory - readers * frameBytes(layout))),
      pieces_(cutIntoPieces(layout, memory_)),
      kept_(pieces_.size()) {
    try {
        for (std::int32_t i = 0; i < readers; ++i) threads_.emplace_back([this] { readPieces(); });
    } catch (...) {
        end();
        throw;
    }
}

PieceStore::~PieceStore() {
    end();
}

void PieceStore::end() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void PieceStore::need(std::size_t end) {
    {
        const std::lock_guard lock(mutex_);
        needed_ = std::max(needed_, end);
    }
    changed_.notify_all();
}

bool PieceStore::wait(std::size_t piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return failure_ || kept_[piece].state != State::waiting; });
    if (failure_) std::rethrow_exception(failure_);
    return kept_[piece].state == State::ready;
}

void PieceStore::giveBack(const std::vector<std::size_t>& pieces, std::int32_t row) {
    {
        const std::lock_guard lock(mutex_);
        row_ = row;
        for (const std::size_t piece : pieces) {
            Kept& kept = kept_[piece];
            const std::int32_t passed = std::max(0, row - pieces_[piece].top) / blockRows;
            const std::size_t end =
                pieces_[piece].bottom <= row ? kept.blocks.size() : static_cast<std::size_t>(passed);
            for (; kept.givenBack < end; ++kept.givenBack) {
                free_.push_back(std::move(kept.blocks[kept.givenBack]));
                held_ -= block_;
            }
        }
    }
    changed_.notify_all();
}

bool PieceStore::mayRead() const {
    if (next_ == pieces_.size() || failure_) return false;
    if (next_ < needed_) return true;
    return pieces_[next_].top < row_ + heightsAhead * layout_.frameSize.height &&
           held_ + bytesOf(pieces_[next_], block_) <= memory_;
}

void PieceStore::readPieces() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return ended_ || mayRead(); });
        if (ended_) return;
        const std::size_t piece = next_++;
        held_ += bytesOf(pieces_[piece], block_);
        lock.unlock();
        std::vector<cv::Mat> blocks;
        std::exception_ptr failure;
        try {
            blocks = readPiece(pieces_[piece]);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        if (failure && !failure_) failure_ = failure;
        if (blocks.empty()) held_ -= bytesOf(pieces_[piece], block_);
        kept_[piece].state = blocks.empty() ? State::unreadable : State::ready;
        kept_[piece].blocks = std::move(blocks);
        changed_.notify_all();
    }
}

/// Nothing if the frame cannot be read.
std::vector<cv::Mat> PieceStore::readPiece(const Piece& piece) {
    const cv::Mat frame = frames_.read(layout_.frames[piece.placed].frame);
    if (frame.size() != layout_.frameSize || frame.type() != layout_.type) return {};
    std::vector<cv::Mat> blocks = takeBlocks(static_cast<std::size_t>(bytesOf(piece, block_) / block_));
    for (std::int32_t row = piece.from; row < piece.to; ++row) {
        const std::int32_t inPiece = row - piece.from;
        copyRow(frame, row, blocks[static_cast<std::size_t>(inPiece / blockRows)].ptr(inPiece % blockRows));
    }
    return blocks;
}

std::vector<cv::Mat> PieceStore::takeBlocks(std::size_t count) {
    std::vector<cv::Mat> blocks;
    blocks.reserve(count);
    {
        const std::lock_guard lock(mutex_);
        for (; !free_.empty() && blocks.size() < count; free_.pop_back())
            blocks.push_back(std::move(free_.back()));
    }
    while (blocks.size() < count)
        blocks.emplace_back(std::min(blockRows, layout_.frameSize.height), layout_.frameSize.width,
                            layout_.type);
    return blocks;
}

}  // namespace brantel::render
