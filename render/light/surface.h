// Smooth surfaces over a frame.
#pragma once

#include <Eigen/Core>
#include <opencv2/core/mat.hpp>

#include "light/cells.h"

namespace brantel::render {

/// Products of Legendre polynomials up to an order, without the constant one: every one of them says something of its own
/// about the whole frame, so that solving for all is well conditioned.
class Surface {
  public:
    static constexpr int order = 6;
    static constexpr int terms = (order + 1) * (order + 2) / 2 - 1;
    using Vector = Eigen::Matrix<double, terms, 1>;
    using Row = Eigen::Matrix<double, 1, terms>;

    static Vector at(const FramePoint& point);

    /// How far the weights of the terms usually go; odd and high orders are rare in what lenses and lamps do.
    static Vector usualWeights();

    /// The surface with these weights at every step-th pixel of every step-th row, CV_32FC1; the size is as FlatField's.
    static cv::Mat over(cv::Size frame, std::int32_t step, const Eigen::Ref<const Vector>& weights);
};

}  // namespace brantel::render
