#include "pictures/kinds.h"

#include <gtest/gtest.h>

#include "pictures/image_io.h"
#include "pictures/stored_file.h"
#include "support/scratch_directory.h"

namespace brantel::programs {
namespace {

using brantel::test::ScratchDirectory;

std::string kindOfText(const std::string& text) {
    return kindOf(std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(KindOf, NamesFilesByTheirFirstBytes) {
    using namespace std::string_literals;
    EXPECT_EQ(kindOfText("\x89PNG\r\n\x1A\n"), "a PNG picture");
    EXPECT_EQ(kindOfText("ZISRAWFILE\0\0"s), "a Zeiss CZI file");
    EXPECT_EQ(kindOfText("MM\0*"s), "a TIFF picture");
    EXPECT_EQ(kindOfText("RIFF....AVI LIST"), "an AVI video");
    EXPECT_EQ(kindOfText("\0\0\0\x18"s + "ftypheic"), "a HEIC picture");
    EXPECT_EQ(kindOfText("\0\0\0\x18"s + "ftypisom"), "an MP4 or QuickTime video");
    EXPECT_EQ(kindOfText(std::string(128, '\0') + "DICM"), "a DICOM file");
    EXPECT_EQ(kindOfText("P5\n4 4\n255\n"), "a PNM picture");
    EXPECT_EQ(kindOfText("file,x,y\n"), "a text file");
    EXPECT_EQ(kindOfText("\x01\x02\x03"), "");
    EXPECT_EQ(kindOfText(""), "");
}

TEST(WhyUnreadable, SaysWhatTheFileIs) {
    const ScratchDirectory directory;
    directory.write("empty.png", "");
    directory.write("page.png", "<!DOCTYPE html><html></html>");
    directory.write("broken.png", "\x89PNG\r\n\x1A\n");
    directory.write("slide.png", "ZISRAWFILE");
    EXPECT_EQ(whyUnreadable("empty.png"), "the file is empty");
    EXPECT_EQ(whyUnreadable("page.png"),
              std::string("it is an HTML or XML document, and only ") + readableKinds + " are read");
    EXPECT_EQ(whyUnreadable("broken.png"), "it is a PNG picture that is damaged or cut off");
    EXPECT_NE(whyUnreadable("slide.png").find("Zeiss CZI"), std::string::npos);
    EXPECT_NE(whyUnreadable("missing.png").find("cannot be opened: No such file"), std::string::npos);
}

}  // namespace
}  // namespace brantel::programs
