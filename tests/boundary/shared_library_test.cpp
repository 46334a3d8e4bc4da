// libBrantel.so loaded, unloaded and loaded again at run time.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/picture.h"
#include "support/scratch_directory.h"
#include "support/session.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 120;
constexpr std::int32_t cols = 160;

class Library {
  public:
    Library() : handle_(dlopen(BRANTEL_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) return;
        init = function<decltype(initJoint)>("initJoint");
        stitch = function<decltype(stichingImagedJoint)>("stichingImagedJoint");
        uninit = function<decltype(uinitJoint)>("uinitJoint");
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() {
        if (handle_ != nullptr) dlclose(handle_);
    }
    bool complete() const { return init != nullptr && stitch != nullptr && uninit != nullptr; }

    decltype(initJoint)* init = nullptr;
    decltype(stichingImagedJoint)* stitch = nullptr;
    decltype(uinitJoint)* uninit = nullptr;

  private:
    template <class F>
    F* function(const char* name) const {
        return reinterpret_cast<F*>(dlsym(handle_, name));
    }
    void* handle_;
};

class SharedLibrary : public testing::Test {
  protected:
    SharedLibrary() { directory_.write("stitch.txt", "1"); }

    cv::Mat stitchPair(const Library& library) {
        const Picture picture = makePicture(Texture::fine, rows + 8, cols + 20, 1, 21);
        Frame first = picture.window(0, 0, rows, cols);
        Frame second = picture.window(20, 8, rows, cols);
        cv::Mat mosaic;
        EXPECT_EQ(library.stitch(first.data(), second.data(), 0, 1, 0, 0, false, nullptr, nullptr, &mosaic,
                                 nullptr),
                  0);
        return mosaic;
    }

    static std::uint64_t hash(const cv::Mat& mosaic) { return hashOf(mosaic); }

    ScratchDirectory directory_;
};

TEST_F(SharedLibrary, LoadedAgainStitchesTheSameBytes) {
    std::uint64_t hashes[3] = {};
    for (std::uint64_t& value : hashes) {
        const Library library;
        ASSERT_TRUE(library.complete()) << dlerror();
        ASSERT_TRUE(library.init(rows, cols, 1, 8, 20000, 20000, 1, 0));
        value = hash(stitchPair(library));
        EXPECT_TRUE(library.uninit());
    }
    EXPECT_EQ(hashes[0], hashes[1]);
    EXPECT_EQ(hashes[0], hashes[2]);
}

TEST_F(SharedLibrary, UnloadedWithItsThreadsRunningDoesNoHarm) {
    cv::Mat mosaic;
    std::uint64_t before = 0;
    {
        const Library library;
        ASSERT_TRUE(library.complete());
        ASSERT_TRUE(library.init(rows, cols, 1, 8, 20000, 20000, 1, 0));
        mosaic = stitchPair(library);
        before = hash(mosaic);
    }
    EXPECT_EQ(hash(mosaic), before) << "the canvas is the host's, too";
    const Library library;
    ASSERT_TRUE(library.complete());
    EXPECT_TRUE(library.uninit());
    ASSERT_TRUE(library.init(rows, cols, 1, 8, 20000, 20000, 1, 0));
    EXPECT_EQ(hash(stitchPair(library)), before);
    EXPECT_TRUE(library.uninit());
}

TEST_F(SharedLibrary, MayBeLoadedAndUnloadedWithoutACall) {
    for (int i = 0; i < 20; ++i) {
        const Library library;
        EXPECT_TRUE(library.complete());
    }
}

}  // namespace
}  // namespace brantel::test
