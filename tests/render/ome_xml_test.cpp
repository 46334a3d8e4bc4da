#include "picture/ome_xml.h"

#include <gtest/gtest.h>
#include <opencv2/core/hal/interface.h>

#include "picture_folder.h"

namespace brantel::test {
namespace {

using render::omeXml;

TEST(OmeXml, DescribesAColourPicture) {
    auto xml = attributesOf(omeXml({70000, 4000}, CV_8UC3, 0.345));
    EXPECT_EQ(xml["OME/xmlns"], "http://www.openmicroscopy.org/Schemas/OME/2016-06");
    EXPECT_EQ(xml["Pixels/DimensionOrder"], "XYCZT");
    EXPECT_EQ(xml["Pixels/Type"], "uint8");
    EXPECT_EQ(xml["Pixels/SizeX"], "70000");
    EXPECT_EQ(xml["Pixels/SizeY"], "4000");
    EXPECT_EQ(xml["Pixels/SizeC"], "3");
    EXPECT_EQ(xml["Pixels/SizeZ"], "1");
    EXPECT_EQ(xml["Pixels/SizeT"], "1");
    EXPECT_EQ(xml["Pixels/PhysicalSizeX"], "0.345");
    EXPECT_EQ(xml["Pixels/PhysicalSizeY"], "0.345");
    EXPECT_EQ(xml["Pixels/PhysicalSizeXUnit"], "µm");
    EXPECT_EQ(xml["Channel/SamplesPerPixel"], "3");
    EXPECT_EQ(xml["TiffData/PlaneCount"], "1");
}

TEST(OmeXml, SaysNothingOfAnUnknownPixelSize) {
    auto xml = attributesOf(omeXml({1, 1}, CV_16UC1, 0));
    EXPECT_EQ(xml["Pixels/Type"], "uint16");
    EXPECT_EQ(xml["Pixels/SizeC"], "1");
    EXPECT_EQ(xml["Channel/SamplesPerPixel"], "1");
    EXPECT_EQ(xml.count("Pixels/PhysicalSizeX"), 0U);
}

}  // namespace
}  // namespace brantel::test
