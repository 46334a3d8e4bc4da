// The three channels and where they go: whole lines, whatever thread writes them.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "common/guard.h"
#include "support/lines.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::captureDebugLines;
using test::captureLines;
using test::captureOutput;
using test::Lines;
using test::toOutput;

#if defined(_WIN32)
const std::string lineEnd = "\r\n";
#else
const std::string lineEnd = "\n";
#endif

TEST(StreamLine, IsTheTextAndALineEnd) {
    EXPECT_EQ(captureOutput([] { toOutput().streamLine("imageMosaicFun in"); }),
              "imageMosaicFun in" + lineEnd);
    EXPECT_EQ(captureOutput([] { toOutput().streamLine(""); }), lineEnd);
}

TEST(StreamLine, ANumberFollowsRightBehindTheText) {
    EXPECT_EQ(captureLines([] {
                  toOutput().streamLine("k", 7);
                  toOutput().streamLine("k", -12);
                  toOutput().streamLine("k", 9000000000);
              }),
              (Lines{"k7", "k-12", "k9000000000"}));
}

TEST(StreamLine, ATextThatIsTooLongIsCutAndStillALine) {
    for (const std::size_t length : {254, 255, 256, 1000}) {
        const std::string text(length, 'x');
        const std::string kept(std::min<std::size_t>(length, 255), 'x');
        EXPECT_EQ(captureOutput([&] { toOutput().streamLine(text.c_str()); }), kept + lineEnd);
    }
}

TEST(Log, HandsItsLinesToItsOwnSink) {
    test::RecordingSink one;
    test::RecordingSink other;
    const Log log(one);
    const Log otherLog(other);
    const std::string output = captureOutput([&] {
        log.streamLine("a", 1);
        otherLog.streamLine("b");
        log.clLog("c%d", 2);
        log.debugLine("d");
    });
    EXPECT_EQ(output, "");
    EXPECT_EQ(one.text(), "a1\nc2");
    EXPECT_EQ(one.debugLines(), Lines{"d"});
    EXPECT_EQ(other.text(), "b\n");
    EXPECT_TRUE(other.debugLines().empty());
}

TEST(StreamLine, TheTextIsNoFormat) {
    EXPECT_EQ(captureLines([] { toOutput().streamLine("100 %s %n %d"); }), Lines{"100 %s %n %d"});
}

TEST(StreamLine, LinesOfTwoThreadsNeverTear) {
    const Lines lines = captureLines([] {
        std::thread other([] {
            for (int i = 0; i < 400; ++i) toOutput().streamLine("aaaaaaaaaaaaaaaaaaaa", 1);
        });
        for (int i = 0; i < 400; ++i) toOutput().streamLine("bbbbbbbbbbbbbbbbbbbb", 2);
        other.join();
    });
    EXPECT_EQ(lines.size(), 800U);
    for (const std::string& line : lines)
        EXPECT_TRUE(line == "aaaaaaaaaaaaaaaaaaaa1" || line == "bbbbbbbbbbbbbbbbbbbb2") << line;
}

TEST(ClLog, FormatsWithoutALineEnd) {
    EXPECT_EQ(captureOutput([] { toOutput().clLog("%s has %d units", "device", 4); }), "device has 4 units");
}

TEST(ClLog, LongTextsAreNotCut) {
    const std::string text(5000, 'x');
    EXPECT_EQ(captureOutput([&] { toOutput().clLog("%s", text.c_str()); }), text);
}

TEST(DebugLine, GoesToTheDebuggerAndNotToStandardOutput) {
    Lines output;
    const Lines debug =
        captureDebugLines([&] { output = captureLines([] { toOutput().debugLine("use CPU"); }); });
    EXPECT_EQ(debug, Lines{"use CPU"});
    EXPECT_TRUE(output.empty());
    EXPECT_TRUE(
        captureDebugLines([] { captureLines([] { toOutput().streamLine("imageMosaicFun in"); }); }).empty());
}

TEST(DebugLine, ComesInTheOrderOfTheCalls) {
    EXPECT_EQ(captureDebugLines([] {
                  toOutput().debugLine("one");
                  toOutput().debugLine("two");
              }),
              (Lines{"one", "two"}));
}

TEST(Succeeds, PassesTheResultOnAndEndsExceptionsWithALine) {
    EXPECT_TRUE(succeeds(toOutput(), "step", [] { return true; }));
    EXPECT_FALSE(succeeds(toOutput(), "step", [] { return false; }));
    auto said =
        test::listen([] { return succeeds(toOutput(), "step", []() -> bool { throw std::bad_alloc(); }); });
    EXPECT_FALSE(said.result);
    ASSERT_EQ(said.lines.size(), 1U);
    EXPECT_EQ(said.lines[0].rfind("step failed: ", 0), 0U);
    said = test::listen([] { return succeeds(toOutput(), "step", []() -> bool { throw 7; }); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"step failed"});
}

}  // namespace
}  // namespace brantel
