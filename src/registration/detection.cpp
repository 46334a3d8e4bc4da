#include "registration/detection.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <stdexcept>

#include "common/guard.h"
#include "common/parallel_for.h"
#include "compose/reduction.h"
#include "simd/level.h"

namespace brantel {

namespace {

constexpr std::int32_t productCount = 3;  // xx, yy, xy
constexpr std::int32_t windowRows = 5;    // of the smoothing filter
constexpr std::int32_t reach = windowRows / 2;
constexpr std::int32_t responseRows = 3;  // that maxima are found in

/// The rows of products that the vertical filter still needs, xx, yy and xy of a row one behind the other.
class ProductRing {
  public:
    ProductRing(float* memory, std::int64_t cols) : memory_(memory), cols_(cols) {}

    float* row(std::int64_t r) { return memory_ + r % windowRows * productCount * cols_; }
    float* filtered() { return memory_ + windowRows * productCount * cols_; }

    void compute(const std::uint8_t* grey, std::int64_t r, std::int64_t first, std::int64_t last) {
        const std::uint8_t* at = grey + r * cols_;
        float* xx = row(r);
        simd::cornerKernels().gradientRow(at - cols_, at, at + cols_, first, last, xx, xx + cols_,
                                          xx + 2 * cols_);
    }

  private:
    float* memory_;
    std::int64_t cols_;
};

struct GreyImage {
    const std::uint8_t* pixels;
    std::int32_t rows;
    std::int32_t cols;

    std::int32_t lastRow() const { return rows - harrisBorder; }
};

/// The responses of a band of rows and of a row above and below it: all of them, or as many as maxima are
/// found in.
class ResponseRows {
  public:
    ResponseRows(float* memory, std::int32_t firstRow, std::int32_t kept, std::int64_t cols)
        : memory_(memory), firstRow_(firstRow), kept_(kept), cols_(cols) {}

    float* row(std::int32_t r) const { return memory_ + (r - firstRow_) % kept_ * cols_; }
    void clear(std::int32_t r) const {
        std::memset(row(r), 0, static_cast<std::size_t>(cols_) * sizeof(float));
    }

  private:
    float* memory_;
    std::int32_t firstRow_;
    std::int32_t kept_;
    std::int64_t cols_;
};

/// Responses and local maxima of a band of rows. The maxima need the responses of a row beside the band, too.
/// What lies outside the border counts as 0.
class BandScan {
  public:
    /// Rows [first, last) of the image. With room for all their responses (see responsesOf) they stay there.
    BandScan(const GreyImage& image, std::int32_t first, std::int32_t last, HarrisBand& band, float* room)
        : image_(image),
          first_(first),
          last_(last),
          from_(std::max(first - 1, harrisBorder)),
          to_(std::min(last + 1, image.lastRow())),
          band_(band),
          ring_(band.products.data(), image.cols),
          responses_(room != nullptr ? room : band.response.data(), from_ - 1,
                     room != nullptr ? to_ - from_ + 2 : responseRows, image.cols) {}

    /// Floats for all responses of rows [first, last) and the rows beside them.
    static std::int64_t responsesOf(std::int32_t first, std::int32_t last, std::int64_t cols) {
        return (std::int64_t{last} - first + 4) * cols;
    }

    /// The sum of the band's responses.
    float run() {
        responses_.clear(from_ - 1);
        for (std::int32_t r = from_ - reach; r < from_ + reach; ++r) computeProducts(r);
        float sum = 0;
        for (std::int32_t r = from_; r < to_; ++r) {
            computeProducts(r + reach);
            sum = respond(r, sum);
            if (r > first_) findMaxima(r - 1);
        }
        if (to_ > last_) return sum;
        responses_.clear(last_);  // the border
        findMaxima(last_ - 1);
        return addResponses(sum, responses_.row(last_ - 1), image_.cols);
    }

    /// Adds the band's responses, which stayed, to a sum.
    float addTo(float sum) {
        for (std::int32_t r = first_; r < last_; ++r) sum = addResponses(sum, responses_.row(r), image_.cols);
        return sum;
    }

  private:
    void computeProducts(std::int32_t r) {
        ring_.compute(image_.pixels, r, harrisBorder - reach, image_.cols - harrisBorder + reach);
    }

    /// Writes the responses of row r. The kernel adds up the row above meanwhile, which costs nothing beside its
    /// arithmetic; a row above the band belongs to the sum of another band, so the cleared row stands in for it.
    float respond(std::int32_t r, float sum) {
        float* response = responses_.row(r);
        response[harrisBorder - 1] = response[image_.cols - harrisBorder] = 0;  // maxima look there
        const float* above = responses_.row(r - 1 >= first_ ? r - 1 : from_ - 1);
        const simd::HarrisRow row{
            {ring_.row(r - 2), ring_.row(r - 1), ring_.row(r), ring_.row(r + 1), ring_.row(r + 2)},
            image_.cols,
            ring_.filtered(),
            responseKernel,
            harrisK,
            response,
            above};
        return simd::cornerKernels().harrisRow(row, harrisBorder, image_.cols - harrisBorder, sum);
    }

    void findMaxima(std::int32_t r) {
        appendMaxima(responses_.row(r - 1), responses_.row(r), responses_.row(r + 1), r, image_.cols,
                     band_.selection);
    }

    const GreyImage& image_;
    const std::int32_t first_;
    const std::int32_t last_;
    const std::int32_t from_;
    const std::int32_t to_;
    HarrisBand& band_;
    ProductRing ring_;
    ResponseRows responses_;
};

template <class T>
void append(std::vector<T>& to, const std::vector<T>& from) {
    to.insert(to.end(), from.begin(), from.end());
}

/// Both halves at the same time. The sum goes through the lower half's responses when both are done.
float scanHalves(const Log& log, const GreyImage& image, HarrisImages& images, const DetectionHelp& help) {
    const std::int32_t middle = image.rows / 2;
    help.arena->block.ensure(BandScan::responsesOf(middle, image.lastRow(), image.cols));
    BandScan upper(image, harrisBorder, middle, images.upper, nullptr);
    BandScan lower(image, middle, image.lastRow(), images.lower, help.arena->begin(Phase::registration));
    float sum = 0;
    std::atomic<bool> done{true};
    parallelFor(help.workers, 2, 1, [&](std::int64_t half, std::int64_t, std::int32_t) {
        const bool ran = succeeds(log, "worker job", [&] {
            const float itsSum = (half == 0 ? upper : lower).run();
            if (half == 0) sum = itsSum;
            return true;
        });
        if (!ran) done = false;
    });
    if (!done) throw std::runtime_error("corner detection broke off");
    append(images.upper.selection.values, images.lower.selection.values);
    append(images.upper.selection.points, images.lower.selection.points);
    return lower.addTo(sum);
}

/// Leaves the local maxima of the response above its mean in the upper band's selection.
void findCorners(const Log& log, const GreyImage& image, HarrisImages& images, const DetectionHelp* help) {
    const bool halves = help != nullptr && image.rows > 4 * harrisBorder;
    const float sum = halves ? scanHalves(log, image, images, *help)
                             : BandScan(image, harrisBorder, image.lastRow(), images.upper, nullptr).run();
    keepAbove(sum / static_cast<float>(std::int64_t{image.rows} * image.cols), images.upper.selection);
}

const std::uint8_t* reduceFrame(const Log& log, const std::uint8_t* frame, const ImageDesc& desc,
                                std::int32_t scale, std::uint8_t* reduced) {
    if (scale != 2) {
        downscaleImage(log, frame, desc.rows, desc.cols, scale, 1, reduced);
        return reduced;
    }
    const std::int64_t cols = desc.cols / 2;
    for (std::int64_t r = 0; r < desc.rows / 2; ++r)
        simd::kernels().halveRow(frame + 2 * r * desc.cols, cols, reduced + r * cols);
    return reduced;
}

}  // namespace

void HarrisBand::ensure(std::int64_t cols) {
    products.ensure(productCount * (windowRows + 1) * cols);
    response.ensure(responseRows * cols);
    selection.columns.resize(static_cast<std::size_t>(cols));
    selection.clear();
}

std::int32_t findHarrisCornerCoordianteFun(const Log& log, const std::uint8_t* frame, const ImageDesc& desc,
                                           const CornerTuning& tuning, HarrisImages& images,
                                           std::vector<CornerPoint>& corners, const DetectionHelp* help) {
    if (frame == nullptr) {
        log.streamLine("findHarrisCornerCoordianteFun ptr is null");
        return 0;
    }
    const std::int32_t rows = desc.rows / tuning.workingScale;
    const std::int32_t cols = desc.cols / tuning.workingScale;
    images.upper.selection.clear();
    if (rows > 2 * harrisBorder && cols > 2 * harrisBorder) {
        images.grey.ensure(std::int64_t{rows} * cols);
        images.upper.ensure(cols);
        if (help != nullptr) images.lower.ensure(cols);
        const std::uint8_t* grey = reduceFrame(log, frame, desc, tuning.workingScale, images.grey.data());
        findCorners(log, {grey, rows, cols}, images, help);
    }
    keepBestCorners(log, images.upper.selection, tuning, corners);
    if (!corners.empty()) return 1;
    log.streamLine("HarrissCornerSPoint size is 0");
    return 0;
}

}  // namespace brantel
