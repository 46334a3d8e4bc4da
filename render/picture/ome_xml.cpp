#include "picture/ome_xml.h"

#include <opencv2/core/hal/interface.h>
#include <locale>
#include <sstream>

namespace brantel::render {

std::string omeXml(cv::Size size, std::int32_t type, double pixelSize) {
    const std::int32_t channels = CV_MAT_CN(type);
    std::ostringstream xml;
    xml.imbue(std::locale::classic());
    xml.precision(12);
    xml << R"(<?xml version="1.0" encoding="UTF-8"?>)"
        << R"(<OME xmlns="http://www.openmicroscopy.org/Schemas/OME/2016-06")"
        << R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance")"
        << R"( xsi:schemaLocation="http://www.openmicroscopy.org/Schemas/OME/2016-06)"
        << R"( http://www.openmicroscopy.org/Schemas/OME/2016-06/ome.xsd">)"
        << R"(<Image ID="Image:0"><Pixels ID="Pixels:0" DimensionOrder="XYCZT" Type=")"
        << (CV_MAT_DEPTH(type) == CV_8U ? "uint8" : "uint16") << R"(" SizeX=")" << size.width
        << R"(" SizeY=")" << size.height << R"(" SizeC=")" << channels << R"(" SizeZ="1" SizeT="1")"
        << R"( BigEndian="false" Interleaved=")" << (channels > 1 ? "true" : "false") << '"';
    if (pixelSize > 0)
        xml << R"( PhysicalSizeX=")" << pixelSize << R"(" PhysicalSizeXUnit="µm" PhysicalSizeY=")"
            << pixelSize << R"(" PhysicalSizeYUnit="µm")";
    xml << R"(><Channel ID="Channel:0:0" SamplesPerPixel=")" << channels << R"("/>)"
        << R"(<TiffData IFD="0" PlaneCount="1"/></Pixels></Image></OME>)";
    return xml.str();
}

}  // namespace brantel::render
