// What an OME-TIFF says about its picture.
#pragma once

#include <cstdint>
#include <opencv2/core/types.hpp>
#include <string>

namespace brantel::render {

/// The description of a file with one picture and its pyramid.
/// @param type       of the samples, as in Layout
/// @param pixelSize  micrometres; 0: not known
std::string omeXml(cv::Size size, std::int32_t type, double pixelSize);

}  // namespace brantel::render
