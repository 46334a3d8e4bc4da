// FreeLibrary in every state, and what is left for the host afterwards.
#include <gtest/gtest.h>
#include <windows.h>

#include "dll/loaded_library.h"
#include "support/camera_path.h"

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 240;
constexpr std::int32_t cols = 320;

Picture picture() {
    return makePicture(Texture::fine, 500, 700, 1, 5);
}

/// What goes wrong when something of an unloaded library is still registered with the system.
void useTheProcess() {
    OutputDebugStringA("every handler of exceptions is asked");
    HANDLE thread = CreateThread(
        nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

/// Three frames, then the canvas stays with the host.
cv::Mat stitchThreeFrames() {
    const Picture source = picture();
    Frame first = source.window(0, 0, rows, cols);
    cv::Mat mosaic;
    stichingImagedJoint(first.data(), source.window(60, 40, rows, cols).data(), 0, 1, 0, 0, false, nullptr,
                        nullptr, nullptr, nullptr);
    EXPECT_EQ(stichingImagedJoint(nullptr, source.window(120, 80, rows, cols).data(), 1, 1, 0, 0, false,
                                  nullptr, nullptr, &mosaic, nullptr),
              0);
    return mosaic;
}

bool initialise() {
    return initJoint(rows, cols, 1, 1, 20000, 20000, 1, 0);
}

TEST(Unload, BeforeInitialisationTheLibraryIsGone) {
    for (int i = 0; i < 20; ++i) {
        loadLibrary();
        EXPECT_TRUE(libraryIsMapped());
        freeLibrary();
        EXPECT_FALSE(libraryIsMapped());
    }
    useTheProcess();
}

TEST(Unload, AfterCallsWithoutInitialisationTheLibraryIsGone) {
    loadLibrary();
    uinitJoint();
    std::uint8_t pixel = 1;
    stichingImagedJoint(&pixel, &pixel, 0, 1, 0, 0, false, nullptr, nullptr, nullptr, nullptr);
    freeLibrary();
    EXPECT_FALSE(libraryIsMapped());
    useTheProcess();
}

TEST(Unload, WithRunningWorkersTheirCodeStays) {
    ScratchDirectory directory;
    loadLibrary();
    ASSERT_TRUE(initialise());
    freeLibrary();
    EXPECT_TRUE(libraryIsMapped());
    useTheProcess();
    Sleep(50);  // the workers wake and wait in code that must still be there
}

TEST(Unload, InTheMiddleOfAMosaicTheCanvasStaysUsable) {
    ScratchDirectory directory;
    loadLibrary();
    ASSERT_TRUE(initialise());
    cv::Mat mosaic = stitchThreeFrames();
    freeLibrary();
    EXPECT_EQ(mosaic.rows, 6000);
    EXPECT_NE(hashOf(mosaic), 0U);
    cv::Mat other = mosaic;
    mosaic.release();
    other.release();
    useTheProcess();
}

TEST(Unload, AfterTeardownTheHostMayReleaseItsCanvasLast) {
    ScratchDirectory directory;
    loadLibrary();
    ASSERT_TRUE(initialise());
    cv::Mat mosaic = stitchThreeFrames();
    EXPECT_TRUE(uinitJoint());
    freeLibrary();
    mosaic.at<std::uint8_t>(5999, 5999) = 3;
    mosaic.release();
    useTheProcess();
}

TEST(Reload, ALibraryLoadedAgainStitchesFromTheStart) {
    const Picture source = picture();
    const Path path = serpentinePath({4, 4}, 80, 60, 3, 2);
    std::uint64_t hashes[3] = {};
    for (std::uint64_t& hash : hashes) {
        LoadedLibrary library;
        Session session({rows, cols});
        ASSERT_TRUE(session.ready());
        const FollowReport report = follow(session, source, path, rows, cols);
        EXPECT_EQ(report.placed, 12) << report.summary();
        hash = hashOf(report.last.mosaic);
    }
    EXPECT_EQ(hashes[0], hashes[1]);
    EXPECT_EQ(hashes[0], hashes[2]);
}

TEST(Reload, AMosaicGoesOnWhenTheHostLoadsTheLibraryAgain) {
    // The library keeps itself in memory once its threads run, and with it the one mosaic of the process.
    ScratchDirectory directory;
    loadLibrary();
    ASSERT_TRUE(initialise());
    stitchThreeFrames();
    freeLibrary();
    loadLibrary();
    StitchFlags flags{};
    EXPECT_EQ(stichingImagedJoint(nullptr, picture().window(180, 120, rows, cols).data(), 1, 1, 0, 0, false,
                                  nullptr, nullptr, nullptr, &flags),
              0);
    EXPECT_EQ(flags.offset.x, 60);
    EXPECT_EQ(flags.offset.y, 40);
    EXPECT_TRUE(uinitJoint());
    freeLibrary();
}

TEST(Exit, LeavingWithoutTeardownIsClean) {
    EXPECT_EXIT(
        {
            loadLibrary();
            initialise();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace brantel::test
