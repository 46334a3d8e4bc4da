// Worker threads of the OpenCL backend that cannot be made.
#include "faults/fault_injection.h"
#include "opencl/stream_machine.h"

namespace brantel::test {

namespace {

class OpenClThreads : public StreamMachine {
  protected:
    /// An initialisation after the driver has started the threads of its own; the number-th creation fails.
    InitReport initWithoutThread(int number) {
        open(1);
        tearDownLines();
        const FailingThread failing(number);
        return init({rows, cols, 1, 1, 20000, 20000});
    }

    void expectRefused(const InitReport& report, const std::string& line) {
        EXPECT_FALSE(report.ready);
        EXPECT_EQ(report.output.substr(report.output.size() - line.size() - 1), line + "\n");
        EXPECT_EQ(report.debug, Lines{"stitchingImageOffsetCL in11111111111111111111111111111"});
        EXPECT_NE(engine().device.clProgram, nullptr);  // nothing is released on this path
        EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, -1);
    }
    void expectTheNextTryToWork() {
        ASSERT_TRUE(init({rows, cols, 1, 1, 20000, 20000}).ready);
        EXPECT_EQ(start(frameAt(20, 20), frameAt(120, 20)).out.result, 0);
    }
};

TEST_F(OpenClThreads, WithoutTheModelThreadInitialisationFails) {
    expectRefused(initWithoutThread(1), "ALG_template_model_init_process_pthread faled");
    EXPECT_EQ(tearDownLines(), (Lines{"pthread_join one_pidCL failed", "pthread_join two_pidCL failed"}));
    expectTheNextTryToWork();
}

TEST_F(OpenClThreads, WithoutTheMatchThreadTheModelThreadIsLeftRunning) {
    expectRefused(initWithoutThread(2), "ALG_search_match_init_process_pthread faled");
    expectTheNextTryToWork();
    EXPECT_EQ(tearDownLines(), (Lines{"pthread_join one_pidCL success", "pthread_join two_pidCL success"}));
}

}  // namespace

}  // namespace brantel::test
