// From samples of any depth to the 8 bits that are stitched.
#pragma once

#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>
#include <vector>

namespace brantel::programs {

/// The stored values that become the darkest and the brightest of 8 bits.
struct Range {
    double low = 0;
    double high = 255;
};

struct RangeSetting {
    enum class Kind {
        automatic,  ///< by the first frames' own values; pictures of 8 bits stay as they are
        full,       ///< all that the depth can hold; for floating point 0 to 1
        given
    };
    Kind kind = Kind::automatic;
    Range range;  ///< if given
};

/// "LOW,HIGH", "auto" or "full"; nothing for what is neither.
std::optional<RangeSetting> parseRange(const std::string& text);

/// "312 to 3890".
std::string nameOf(const Range& range);

/// A picture in 8 bits.
struct Toned {
    cv::Mat picture;
    std::optional<Range> range;  ///< nothing: the samples have stayed as they were
    std::optional<double>
        beyond;  ///< if much of the picture is brighter than the range: the brightest sample
};

/// Maps the samples of a whole run alike.
///
/// `low` and what is below becomes 1, not 0, since 0 on the canvas means "empty"; `high` and what is above
/// becomes 255.
class Tones {
  public:
    explicit Tones(const RangeSetting& setting) : setting_(setting) {}

    /// True when these samples need a range that is not known yet.
    bool wantsExamples(const cv::Mat& samples) const;

    /// Settles the automatic range: a thousandth of the samples lies below it, another above.
    void learnFrom(const std::vector<cv::Mat>& examples);

    /// An automatic range must have been learnt.
    Toned apply(const cv::Mat& samples) const;

  private:
    std::optional<Range> rangeFor(const cv::Mat& samples) const;

    RangeSetting setting_;
    std::optional<Range> learnt_;
};

/// The samples in 16 bits: those at the ends of the range and beyond become 1 and 65535.
cv::Mat deepened(const cv::Mat& samples, const Range& range);

}  // namespace brantel::programs
