#include "picture/bands.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <stdexcept>

#include "picture/light_rows.h"
#include "picture/piece_store.h"
#include "picture/row_blend.h"
#include "picture/spans.h"

namespace brantel::render {

namespace {

/// How far each sample's column is from the nearer edge of its frame, the edge's own being 1.
std::vector<float> columnDistances(const Layout& layout) {
    const std::int32_t channels = CV_MAT_CN(layout.type);
    std::vector<float> distances;
    distances.reserve(static_cast<std::size_t>(layout.frameSize.width) * static_cast<std::size_t>(channels));
    for (std::int32_t x = 0; x < layout.frameSize.width; ++x)
        distances.insert(distances.end(), static_cast<std::size_t>(channels),
                         static_cast<float>(std::min(x + 1, layout.frameSize.width - x)));
    return distances;
}

/// Everything after this relies on it.
const Layout& checked(const Layout& layout) {
    const std::int32_t depth = CV_MAT_DEPTH(layout.type);
    const std::int32_t channels = CV_MAT_CN(layout.type);
    if ((depth != CV_8U && depth != CV_16U) || (channels != 1 && channels != 3))
        throw std::invalid_argument("frames of this type make no picture");
    const cv::Rect picture({}, layout.size);
    for (const PlacedFrame& placed : layout.frames) {
        const cv::Rect area(placed.at, layout.frameSize);
        if (area.empty() || (area & picture) != area)
            throw std::invalid_argument("a frame lies beyond its picture");
    }
    return layout;
}

}  // namespace

class PictureBands::Impl {
  public:
    Impl(const PictureParts& parts, std::int64_t memory)
        : layout_(checked(parts.layout)),
          light_(parts.light, parts.layout),
          distances_(columnDistances(parts.layout)),
          blend_(parts.blend, CV_MAT_DEPTH(layout_.type), static_cast<std::int64_t>(distances_.size())),
          store_(parts.layout, parts.frames, memory) {}

    void next(std::int32_t rows, std::uint8_t* to, std::int64_t stride) {
        if (rows > layout_.size.height - row_) throw std::out_of_range("rows below the picture");
        for (const std::int32_t end = row_ + rows; row_ < end;) {
            if (row_ == sectionEnd_) beginSection();
            const std::int32_t stop = std::min({end, sectionEnd_, row_ + blockRows});
            for (; row_ < stop; ++row_, to += stride) fill(to);
            store_.giveBack(active_, row_);
        }
    }

  private:
    /// A section is rows in which the same pieces lie.
    void beginSection() {
        const std::vector<Piece>& pieces = store_.pieces();
        const auto inOrder = [&](std::size_t one, std::size_t other) {
            return pieces[one].placed < pieces[other].placed;
        };
        const auto ended = [&](std::size_t piece) { return pieces[piece].bottom <= row_; };
        active_.erase(std::remove_if(active_.begin(), active_.end(), ended), active_.end());
        const std::size_t before = begun_;
        while (begun_ < pieces.size() && pieces[begun_].top <= row_) ++begun_;
        store_.need(begun_);
        for (std::size_t piece = before; piece < begun_; ++piece)
            if (store_.wait(piece))
                active_.insert(std::upper_bound(active_.begin(), active_.end(), piece, inOrder), piece);
        sectionEnd_ = begun_ < pieces.size() ? pieces[begun_].top : layout_.size.height;
        for (const std::size_t piece : active_) sectionEnd_ = std::min(sectionEnd_, pieces[piece].bottom);
        spans_ = spansOf(columnsOfActive(), layout_.size.width);
    }

    std::vector<Columns> columnsOfActive() const {
        std::vector<Columns> columns;
        for (const std::size_t piece : active_) {
            const std::int32_t left = placedOf(piece).at.x;
            columns.push_back({left, left + layout_.frameSize.width});
        }
        return columns;
    }

    const PlacedFrame& placedOf(std::size_t piece) const {
        return layout_.frames[store_.pieces()[piece].placed];
    }

    void fill(std::uint8_t* row) {
        const std::size_t pixelBytes = CV_ELEM_SIZE(layout_.type);
        for (const Span& span : spans_) {
            const std::int32_t pixels = span.columns.end - span.columns.first;
            std::uint8_t* const to = row + pixelBytes * static_cast<std::size_t>(span.columns.first);
            if (span.covering.empty()) {
                std::memset(to, 0, pixelBytes * static_cast<std::size_t>(pixels));
                continue;
            }
            parts_.clear();
            while (factors_.size() < span.covering.size()) factors_.emplace_back();
            for (const std::size_t i : span.covering)
                parts_.push_back(partOf(active_[i], span.columns, factors_[parts_.size()]));
            blend_.blend(parts_, static_cast<std::int64_t>(pixels) * CV_MAT_CN(layout_.type), to);
        }
    }

    RowPart partOf(std::size_t piece, Columns columns, std::vector<float>& factors) const {
        const PlacedFrame& placed = placedOf(piece);
        const std::int32_t row = row_ - placed.at.y;
        const std::int32_t column = columns.first - placed.at.x;
        RowPart part{};
        part.samples = store_.row(piece, row) + CV_ELEM_SIZE(layout_.type) * static_cast<std::size_t>(column);
        part.factors = light_.factors(row, column, columns.end - columns.first, factors);
        part.gain = placed.gain;
        part.columns = distances_.data() + static_cast<std::ptrdiff_t>(column) * CV_MAT_CN(layout_.type);
        part.row = static_cast<float>(std::min(row + 1, layout_.frameSize.height - row));
        return part;
    }

    const Layout& layout_;
    const LightRows light_;
    const std::vector<float> distances_;
    RowBlend blend_;
    PieceStore store_;

    std::int32_t row_ = 0;             ///< the next one
    std::int32_t sectionEnd_ = 0;      ///< the row after the section
    std::size_t begun_ = 0;            ///< pieces before it have begun above or at the present row
    std::vector<std::size_t> active_;  ///< pieces in the section, in the order of taking
    std::vector<Span> spans_;          ///< they cover indices of active_
    std::vector<RowPart> parts_;
    std::deque<std::vector<float>> factors_;  ///< room for each part's
};

PictureBands::PictureBands(const PictureParts& parts, std::int64_t memory)
    : impl_(std::make_unique<Impl>(parts, memory)) {}

PictureBands::~PictureBands() = default;

void PictureBands::next(std::int32_t rows, void* to, std::int64_t stride) {
    impl_->next(rows, static_cast<std::uint8_t*>(to), stride);
}

}  // namespace brantel::render
