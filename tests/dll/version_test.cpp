// The version resource, as the Explorer and installers read it.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace brantel::test {
namespace {

class VersionResource : public testing::Test {
  protected:
    void SetUp() override {
        DWORD ignored = 0;
        const DWORD bytes = GetFileVersionInfoSizeA("Brantel.dll", &ignored);
        ASSERT_GT(bytes, 0U);
        resource.resize(bytes);
        ASSERT_TRUE(GetFileVersionInfoA("Brantel.dll", 0, bytes, resource.data()));
    }

    std::string text(const char* name) {
        void* value = nullptr;
        UINT length = 0;
        const std::string path = std::string("\\StringFileInfo\\040904B0\\") + name;
        if (!VerQueryValueA(resource.data(), path.c_str(), &value, &length)) return "(none)";
        return static_cast<const char*>(value);
    }

    std::vector<char> resource;
};

TEST_F(VersionResource, NamesTheProjectsVersion) {
    EXPECT_EQ(text("FileVersion"), BRANTEL_VERSION);
    EXPECT_EQ(text("ProductVersion"), BRANTEL_VERSION);
    EXPECT_EQ(text("ProductName"), "Brantel");
    EXPECT_EQ(text("OriginalFilename"), "Brantel.dll");
}

TEST_F(VersionResource, NumbersAgreeWithTheText) {
    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(resource.data(), "\\", &value, &length));
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
    const std::string numbers = std::to_string(HIWORD(fixed.dwFileVersionMS)) + "." +
                                std::to_string(LOWORD(fixed.dwFileVersionMS)) + "." +
                                std::to_string(HIWORD(fixed.dwFileVersionLS));
    EXPECT_EQ(numbers, BRANTEL_VERSION);
    EXPECT_EQ(fixed.dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
}  // namespace brantel::test
