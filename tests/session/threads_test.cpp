// Many sessions at once, from threads of the host's own.
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "session/opened.h"
#include "support/camera_path.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace brantel::test {
namespace {

constexpr std::int32_t rows = 160;
constexpr std::int32_t cols = 220;

/// One of several different ways of using a session; its picture and answers as one number.
std::uint64_t walk(std::int32_t way) {
    const std::int32_t channels = way % 2 == 0 ? 1 : 3;
    const Picture picture =
        makePicture(Texture::fine, 700, 1100, channels, static_cast<std::uint64_t>(way) + 50);
    brantel_settings settings = settingsFor(rows, cols, channels);
    settings.correlation = way % 3 == 0 ? 0 : 1;
    settings.acceptance = way % 4 / 2;
    Opened session(settings);
    std::uint64_t hash = 0;
    const Path path = serpentinePath({10, 20}, 90, 70, 4, 3);
    for (std::size_t i = 0; i < path.size(); ++i) {
        const bool jump = i == 7;  // out of the track and back
        const Spot& spot = jump ? Spot{850, 500} : path[i];
        const brantel_answer answer = session.add(picture.window(spot.x, spot.y, rows, cols));
        hash = hash * 31 + hashOf(&answer, sizeof answer);
        if (i == 9) {
            EXPECT_EQ(session.frame(7).state, way % 3 == 0 ? BRANTEL_REFUSED : BRANTEL_WAITING);
        }
    }
    const auto bytes = session.picture(1);
    return hash * 31 + hashOf(bytes.data(), bytes.size());
}

TEST(SessionThreads, EachSessionGivesWhatItGivesAlone) {
    constexpr std::int32_t ways = 6;
    std::uint64_t alone[ways];
    for (std::int32_t i = 0; i < ways; ++i) alone[i] = walk(i);
    std::vector<std::thread> threads;
    std::uint64_t together[ways] = {};
    for (std::int32_t i = 0; i < ways; ++i) threads.emplace_back([&together, i] { together[i] = walk(i); });
    for (std::thread& thread : threads) thread.join();
    for (std::int32_t i = 0; i < ways; ++i) EXPECT_EQ(together[i], alone[i]) << i;
}

TEST(SessionThreads, ASessionMayMoveFromThreadToThread) {
    const Picture picture = makePicture(Texture::fine, 400, 900, 1, 3);
    Opened session(settingsFor(rows, cols));
    for (std::int32_t i = 0; i < 5; ++i)
        std::thread([&, i] {
            EXPECT_EQ(session.add(picture.window(i * 90, 3 * i, rows, cols)).state, BRANTEL_PLACED);
        }).join();
    EXPECT_EQ(session.map(1).frames, 5);
}

TEST(SessionThreads, TwoAtOnceOnOneSessionAreRefusedAndDoNoHarm) {
    const Picture picture = makePicture(Texture::fine, 400, 900, 1, 3);
    Opened session(settingsFor(rows, cols));
    std::atomic<int> added{0};
    std::atomic<int> refused{0};
    const auto use = [&] {
        for (std::int32_t i = 0; i < 40; ++i) {
            const auto frame = picture.window(i % 8 * 80, 0, rows, cols);
            const brantel_status status = brantel_session_add(session.get(), frame.data(), nullptr, nullptr);
            EXPECT_TRUE(status == BRANTEL_OK || status == BRANTEL_IN_USE) << status;
            ++(status == BRANTEL_OK ? added : refused);
        }
    };
    std::thread other(use);
    use();
    other.join();
    EXPECT_EQ(added + refused, 80);
    EXPECT_EQ(brantel_session_frame_count(session.get()), added);
}

// ThreadSanitizer lets no forked child start threads.
#if !defined(_WIN32) && !defined(__SANITIZE_THREAD__)
TEST(SessionThreads, AForkedChildMayOnlyCloseItsParentsSessions) {
    const Picture picture = makePicture(Texture::fine, 400, 900, 1, 3);
    Opened session(settingsFor(rows, cols));
    session.add(picture.window(0, 0, rows, cols));
#if defined(__SANITIZE_ADDRESS__)
    // Its allocator does not survive a fork while another thread is in it: the workers sleep by then.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
#endif
    const pid_t child = fork();
    if (child == 0) {
        const auto frame = picture.window(90, 0, rows, cols);
        const bool refused =
            brantel_session_add(session.get(), frame.data(), nullptr, nullptr) == BRANTEL_FORKED &&
            brantel_session_begin_map(session.get()) == BRANTEL_FORKED &&
            brantel_session_frame_count(session.get()) == 0 &&
            std::string(brantel_session_error(session.get())) == brantel_status_text(BRANTEL_FORKED);
        brantel_session_close(session.get());
        Opened own(settingsFor(rows, cols));
        own.add(picture.window(0, 0, rows, cols));
        const bool works = own.add(frame).state == BRANTEL_PLACED;
        _exit(refused && works ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(session.add(picture.window(90, 0, rows, cols)).state, BRANTEL_PLACED) << "the parent goes on";
}
#endif

}  // namespace
}  // namespace brantel::test
