#include "light/solve_light.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <set>
#include <stdexcept>

#include "light/light_equations.h"

namespace brantel::render {

namespace {

constexpr std::size_t fewestFrames = 4;
constexpr double evenLight = 0.01;  // logarithms: less is not worth changing samples for
constexpr double evenGains = 0.005;
// Neighbouring values are no independent witnesses.
constexpr double cellShare = 0.25;
constexpr double meanShare = 0.002;
constexpr std::int32_t fieldStep = 8;  // pixels; light changes slowly
constexpr int rounds = 6;
constexpr std::size_t mostCells = 100000;  // more cost time and tell nothing new

float medianOf(std::vector<float> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The robust mean of all frames at one value of their grids.
struct Mean {
    double value = 0;
    double weight = 0;  // one over the variance
};

Mean meanAt(const std::vector<LightGrid>& grids, std::size_t index) {
    std::vector<float> values;
    for (const LightGrid& grid : grids)
        if (index < grid.values.size() && !std::isnan(grid.values[index]))
            values.push_back(grid.values[index]);
    if (values.size() < fewestFrames) return {};
    const float median = medianOf(values);
    for (float& value : values) value = std::abs(value - median);
    const double deviation = std::max(1.4826 * medianOf(values), 1e-3);
    return {median, meanShare * static_cast<double>(values.size()) / (deviation * deviation)};
}

std::vector<Mean> meansOf(const LightEvidence& evidence) {
    const std::size_t count = LightGrid::valuesOf(evidence.channels);
    std::vector<Mean> means;
    means.reserve(count);
    for (std::size_t k = 0; k < count; ++k) means.push_back(meanAt(evidence.grids, k));
    return means;
}

/// Solving again and again, with less and less weight for cells that fit badly: what moved, what was not quite in focus.
class Solver {
  public:
    Solver(const LightEvidence& evidence, bool field, bool gains)
        : evidence_(evidence), field_(field), gains_(gains) {
        if (field) means_ = meansOf(evidence);
        const std::size_t stride = evidence.cells.size() / mostCells + 1;
        for (std::size_t k = 0; k < evidence.cells.size(); k += stride) cells_.push_back(evidence.cells[k]);
        differences_.resize(static_cast<Eigen::Index>(cells_.size()), Surface::terms);
        for (std::size_t k = 0; k < cells_.size(); ++k)
            differences_.row(static_cast<Eigen::Index>(k)) =
                Surface::at(cells_[k].inFirst) - Surface::at(cells_[k].inSecond);
        equations_ = empty();
    }

    void solve() {
        for (int round = 0; round < rounds; ++round) {
            const double scale = std::max(1.4826 * medianOf(steps()), 1e-3);
            std::unique_ptr<LightEquations> next = empty();
            for (int c = 0; c < evidence_.channels; ++c) {
                const Eigen::ArrayXd relative = residuals(c).array() / (2 * scale);
                next->addCells(c, cells_, differences_,
                               cellShare / (scale * scale * (1 + relative.square())));
            }
            if (field_) addMeans(*next);
            next->solve();
            equations_ = std::move(next);
        }
    }

    /// How far the cells are from 0, in the mean of the channels.
    std::vector<float> steps() const {
        Eigen::VectorXd sum = Eigen::VectorXd::Zero(differences_.rows());
        for (int c = 0; c < evidence_.channels; ++c) sum += residuals(c).cwiseAbs() / evidence_.channels;
        const Eigen::VectorXf values = sum.cast<float>();
        return {values.begin(), values.end()};
    }

    const LightEquations& solution() const { return *equations_; }

  private:
    std::unique_ptr<LightEquations> empty() const {
        return std::make_unique<LightEquations>(evidence_.channels, evidence_.grids.size(), field_, gains_);
    }

    Eigen::VectorXd residuals(int channel) const {
        Eigen::VectorXd values = differences_ * -equations_->surface(channel);
        for (std::size_t k = 0; k < cells_.size(); ++k)
            values[static_cast<Eigen::Index>(k)] += cells_[k].ratio[static_cast<std::size_t>(channel)] +
                                                    equations_->gain(cells_[k].first) -
                                                    equations_->gain(cells_[k].second);
        return values;
    }

    void addMeans(LightEquations& next) const {
        for (std::size_t k = 0; k < means_.size(); ++k) {
            if (means_[k].weight == 0) continue;
            const auto place = static_cast<std::int32_t>(k) / evidence_.channels;
            const FramePoint point = LightGrid::pointOf(place / LightGrid::cols, place % LightGrid::cols);
            next.addMean(static_cast<int>(k) % evidence_.channels, point, means_[k].value, means_[k].weight);
        }
    }

    const LightEvidence& evidence_;
    bool field_;
    bool gains_;
    std::vector<Mean> means_;
    std::vector<LightCell> cells_;  // those that are looked at
    LightEquations::Differences differences_;
    std::unique_ptr<LightEquations> equations_;
};

/// Even where the light changes by little.
FlatField fieldOf(const LightEquations& solution, const LightEvidence& evidence) {
    std::vector<cv::Mat> planes;
    double largest = 0;
    for (int c = 0; c < evidence.channels; ++c) {
        cv::Mat plane = Surface::over(evidence.frameSize, fieldStep, solution.surface(c));
        double low = 0;
        double high = 0;
        cv::minMaxLoc(plane, &low, &high);
        largest = std::max(largest, high - low);
        cv::exp(high - plane, plane);
        planes.push_back(plane);
    }
    FlatField field;
    if (largest < evenLight) return field;
    cv::merge(planes, field.factors);
    field.step = fieldStep;
    return field;
}

std::string tooFewFrames(const LightEvidence& evidence) {
    std::set<std::size_t> frames;
    for (const LightCell& cell : evidence.cells) frames.insert({cell.first, cell.second});
    if (frames.size() >= fewestFrames) return "";
    return "too few frames overlap for telling the light from the picture (" + std::to_string(frames.size()) +
           "; at least " + std::to_string(fewestFrames) +
           "): none was taken out; --flat-field can name a picture of even light";
}

std::vector<float> gainsOf(const LightEquations& solution, std::size_t frames) {
    double largest = 0;
    for (std::size_t k = 0; k < frames; ++k) largest = std::max(largest, std::abs(solution.gain(k)));
    std::vector<float> gains(frames, 1.0F);
    if (largest < evenGains) return gains;
    for (std::size_t k = 0; k < frames; ++k) gains[k] = static_cast<float>(std::exp(solution.gain(k)));
    return gains;
}

}  // namespace

LightSolution solveLight(const LightEvidence& evidence, bool wantField, bool wantGains) {
    LightSolution result;
    if (wantField) result.remark = tooFewFrames(evidence);
    const bool field = wantField && result.remark.empty();
    Solver solver(evidence, field, wantGains);
    result.seamsBefore = medianOf(solver.steps());
    if (field || wantGains) solver.solve();
    result.gains = gainsOf(solver.solution(), evidence.grids.size());
    if (field) {
        result.field = fieldOf(solver.solution(), evidence);
        if (result.field.isEven()) result.remark = "the light is even within 1 %: none was taken out";
    }
    // What is too little to be applied changes no seam.
    const bool changed = !result.field.isEven() || std::any_of(result.gains.begin(), result.gains.end(),
                                                               [](float gain) { return gain != 1; });
    result.seamsAfter = changed ? medianOf(solver.steps()) : result.seamsBefore;
    return result;
}

FlatField fieldFrom(const cv::Mat& evenLight, cv::Size frameSize, std::int32_t channels) {
    if (evenLight.size() != frameSize || (evenLight.channels() != 1 && evenLight.channels() != channels))
        throw std::invalid_argument("the flat field has another size or other channels than the frames");
    cv::Mat light;
    evenLight.convertTo(light, CV_32F);
    if (light.channels() != channels)
        cv::merge(std::vector<cv::Mat>(static_cast<std::size_t>(channels), light), light);
    std::vector<cv::Mat> planes;
    cv::split(light, planes);
    for (cv::Mat& plane : planes) {
        cv::Mat smooth;
        cv::blur(plane, smooth, {5, 5}, {-1, -1},
                 cv::BORDER_REPLICATE);  // no single noisy sample is the brightest place
        double brightest = 0;
        cv::minMaxLoc(smooth, nullptr, &brightest);
        if (!(brightest > 0)) throw std::invalid_argument("the flat field is black");
        plane = cv::max(plane, brightest / 100);
        cv::divide(brightest, plane, plane);
    }
    FlatField field;
    cv::merge(planes, field.factors);
    return field;
}

void takeOut(const FlatField& field, LightEvidence& evidence) {
    if (field.isEven()) return;
    const auto factorAt = [&](const FramePoint& point, int channel) {
        const auto along = [](float value, int length) {
            return std::clamp(static_cast<int>((value + 1) / 2 * static_cast<float>(length)), 0, length - 1);
        };
        return field.factors.ptr<float>(along(
            point.y,
            field.factors.rows))[along(point.x, field.factors.cols) * field.factors.channels() + channel];
    };
    for (LightCell& cell : evidence.cells)
        for (int c = 0; c < evidence.channels; ++c)
            cell.ratio[static_cast<std::size_t>(c)] +=
                std::log(factorAt(cell.inFirst, c) / factorAt(cell.inSecond, c));
}

}  // namespace brantel::render
