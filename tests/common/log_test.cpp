// The three channels: whole lines, whatever thread writes them.
#include <gtest/gtest.h>

#include <thread>

#include "common/guard.h"
#include "common/log.h"
#include "support/lines.h"

namespace brantel {
namespace {

using test::captureDebugLines;
using test::captureLines;
using test::captureOutput;
using test::Lines;

#if defined(_WIN32)
const std::string lineEnd = "\r\n";
#else
const std::string lineEnd = "\n";
#endif

TEST(StreamLine, IsTheTextAndALineEnd) {
    EXPECT_EQ(captureOutput([] { streamLine("imageMosaicFun in"); }), "imageMosaicFun in" + lineEnd);
    EXPECT_EQ(captureOutput([] { streamLine(""); }), lineEnd);
}

TEST(StreamLine, ANumberFollowsRightBehindTheText) {
    EXPECT_EQ(captureLines([] {
                  streamLine("k", 7);
                  streamLine("k", -12);
                  streamLine("k", 9000000000);
              }),
              (Lines{"k7", "k-12", "k9000000000"}));
}

TEST(StreamLine, TheTextIsNoFormat) {
    EXPECT_EQ(captureLines([] { streamLine("100 %s %n %d"); }), Lines{"100 %s %n %d"});
}

TEST(StreamLine, LinesOfTwoThreadsNeverTear) {
    const Lines lines = captureLines([] {
        std::thread other([] {
            for (int i = 0; i < 400; ++i) streamLine("aaaaaaaaaaaaaaaaaaaa", 1);
        });
        for (int i = 0; i < 400; ++i) streamLine("bbbbbbbbbbbbbbbbbbbb", 2);
        other.join();
    });
    EXPECT_EQ(lines.size(), 800U);
    for (const std::string& line : lines)
        EXPECT_TRUE(line == "aaaaaaaaaaaaaaaaaaaa1" || line == "bbbbbbbbbbbbbbbbbbbb2") << line;
}

TEST(ClLog, FormatsWithoutALineEnd) {
    EXPECT_EQ(captureOutput([] { clLog("%s has %d units", "device", 4); }), "device has 4 units");
}

TEST(ClLog, LongTextsAreNotCut) {
    const std::string text(5000, 'x');
    EXPECT_EQ(captureOutput([&] { clLog("%s", text.c_str()); }), text);
}

TEST(DebugLine, GoesToTheDebuggerAndNotToStandardOutput) {
    Lines output;
    const Lines debug = captureDebugLines([&] { output = captureLines([] { debugLine("use CPU"); }); });
    EXPECT_EQ(debug, Lines{"use CPU"});
    EXPECT_TRUE(output.empty());
    EXPECT_TRUE(captureDebugLines([] { captureLines([] { streamLine("imageMosaicFun in"); }); }).empty());
}

TEST(DebugLine, ComesInTheOrderOfTheCalls) {
    EXPECT_EQ(captureDebugLines([] {
                  debugLine("one");
                  debugLine("two");
              }),
              (Lines{"one", "two"}));
}

TEST(Succeeds, PassesTheResultOnAndEndsExceptionsWithALine) {
    EXPECT_TRUE(succeeds("step", [] { return true; }));
    EXPECT_FALSE(succeeds("step", [] { return false; }));
    auto said = test::listen([] { return succeeds("step", []() -> bool { throw std::bad_alloc(); }); });
    EXPECT_FALSE(said.result);
    ASSERT_EQ(said.lines.size(), 1U);
    EXPECT_EQ(said.lines[0].rfind("step failed: ", 0), 0U);
    said = test::listen([] { return succeeds("step", []() -> bool { throw 7; }); });
    EXPECT_FALSE(said.result);
    EXPECT_EQ(said.lines, Lines{"step failed"});
}

}  // namespace
}  // namespace brantel
