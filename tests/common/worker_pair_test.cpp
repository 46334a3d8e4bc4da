// The hand-off between a host and its two workers: nobody waits for what nobody does.
#include <gtest/gtest.h>
#include <pthread.h>
#ifdef __linux__
#include <sched.h>
#endif

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "common/parallel_for.h"
#include "common/worker_pair.h"
#include "support/lines.h"
#include "support/test_log.h"

namespace brantel {
namespace {

using test::Lines;
using test::toOutput;

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

class Workers : public testing::Test {
  protected:
    WorkerPair pair{toOutput()};

    void SetUp() override { ASSERT_TRUE(pair.start()); }
};

/// The lines of a worker that is started so many times and does one job.
Lines linesOfStarts(int starts) {
    return test::captureLines([&] {
        Worker worker(toOutput());
        for (int i = 0; i < starts; ++i) EXPECT_TRUE(worker.start("first"));
        auto job = [] { toOutput().streamLine("job"); };
        ASSERT_TRUE(worker.request(Job::of(job)));
        EXPECT_TRUE(worker.wait());
        worker.clearRunFlag();
        EXPECT_TRUE(worker.join());
        EXPECT_FALSE(worker.join()) << "one thread was there to join";
    });
}

TEST(Worker, WritesItsFirstLineBeforeAnyJob) {
    EXPECT_EQ(linesOfStarts(1), (Lines{"first", "job"}));
}

TEST(Worker, StartingARunningWorkerStartsNoSecondThread) {
    EXPECT_EQ(linesOfStarts(5), (Lines{"first", "job"}));
}

TEST(Worker, EndsWithItsObject) {
    std::atomic<bool> finished{false};
    auto job = [&] {
        pause();
        finished = true;
    };
    {
        Worker worker(toOutput());
        ASSERT_TRUE(worker.start(nullptr));
        ASSERT_TRUE(worker.request(Job::of(job)));
    }
    EXPECT_TRUE(finished) << "the job in progress is finished first";
}

TEST(Worker, JoiningTwiceOrWithoutAThreadFails) {
    Worker worker(toOutput());
    EXPECT_FALSE(worker.join());
    ASSERT_TRUE(worker.start(nullptr));
    worker.clearRunFlag();
    EXPECT_TRUE(worker.join());
    EXPECT_FALSE(worker.join());
}

TEST(Worker, StopsRightAfterItsStart) {
    for (int i = 0; i < 200; ++i) {
        Worker worker(toOutput());
        ASSERT_TRUE(worker.start(nullptr));
        worker.clearRunFlag();
        ASSERT_TRUE(worker.join());
    }
}

TEST(Worker, StartsAgainAfterItsEnd) {
    Worker worker(toOutput());
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(worker.start(nullptr));
        int done = 0;
        auto job = [&] { ++done; };
        ASSERT_TRUE(worker.request(Job::of(job)));
        ASSERT_TRUE(worker.wait());
        EXPECT_EQ(done, 1);
        worker.clearRunFlag();
        ASSERT_TRUE(worker.join());
    }
}

TEST(Worker, FinishesTheJobInProgressBeforeItEnds) {
    Worker worker(toOutput());
    ASSERT_TRUE(worker.start(nullptr));
    std::atomic<bool> entered{false};
    std::atomic<bool> finished{false};
    auto job = [&] {
        entered = true;
        pause();
        finished = true;
    };
    ASSERT_TRUE(worker.request(Job::of(job)));
    while (!entered) std::this_thread::yield();
    worker.clearRunFlag();
    EXPECT_TRUE(worker.join());
    EXPECT_TRUE(finished);
    EXPECT_TRUE(worker.wait());
}

TEST(Worker, GivesBackAJobThatItHasNotBegun) {
    class Gate final : public LogSink {
      public:
        void debugLine(const char* /*text*/) override {}
        void write(const char* /*text*/, std::size_t /*length*/) override {
            while (!open) std::this_thread::yield();
        }
        std::atomic<bool> open{false};
    } gate;
    const Log log(gate);
    Worker worker(log);
    ASSERT_TRUE(worker.start("kept from its jobs by whoever writes this line"));
    int jobs = 0;
    auto job = [&] { ++jobs; };
    ASSERT_TRUE(worker.request(Job::of(job)));
    EXPECT_TRUE(worker.withdraw());
    EXPECT_FALSE(worker.withdraw()) << "it has none any more";
    EXPECT_TRUE(worker.wait()) << "nothing is pending, so nobody waits";
    gate.open = true;
    ASSERT_TRUE(worker.request(Job::of(job))) << "and takes the next one";
    EXPECT_TRUE(worker.wait());
    EXPECT_EQ(jobs, 1);
}

TEST(Worker, KeepsAJobThatItHasBegun) {
    Worker worker(toOutput());
    ASSERT_TRUE(worker.start(nullptr));
    std::atomic<bool> entered{false};
    std::atomic<bool> mayEnd{false};
    auto job = [&] {
        entered = true;
        while (!mayEnd) std::this_thread::yield();
    };
    ASSERT_TRUE(worker.request(Job::of(job)));
    while (!entered) std::this_thread::yield();
    EXPECT_FALSE(worker.withdraw());
    mayEnd = true;
    EXPECT_TRUE(worker.wait());
}

#ifdef __linux__

TEST(Worker, IsWokenOnAnotherProcessorThanItsCallers) {
    cpu_set_t usable;
    ASSERT_EQ(pthread_getaffinity_np(pthread_self(), sizeof usable, &usable), 0);
    if (CPU_COUNT(&usable) < 2) GTEST_SKIP() << "one processor only";
    Worker worker(toOutput());
    ASSERT_TRUE(worker.start(nullptr));
    for (unsigned mine = 0; mine < CPU_SETSIZE; ++mine) {
        if (!CPU_ISSET(mine, &usable)) continue;
        cpu_set_t here;
        CPU_ZERO(&here);
        CPU_SET(mine, &here);
        ASSERT_EQ(pthread_setaffinity_np(pthread_self(), sizeof here, &here), 0);
        int its = -1;
        auto job = [&] { its = sched_getcpu(); };
        ASSERT_TRUE(worker.request(Job::of(job)));
        EXPECT_TRUE(worker.wait());
        EXPECT_NE(its, static_cast<int>(mine));
    }
    EXPECT_EQ(pthread_setaffinity_np(pthread_self(), sizeof usable, &usable), 0);
}

TEST(Worker, OfAThreadWithOneProcessorSharesIt) {
    cpu_set_t usable;
    ASSERT_EQ(pthread_getaffinity_np(pthread_self(), sizeof usable, &usable), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (unsigned i = 0; i < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++i)
        if (CPU_ISSET(i, &usable)) CPU_SET(i, &one);
    ASSERT_EQ(pthread_setaffinity_np(pthread_self(), sizeof one, &one), 0);
    Worker worker(toOutput());
    ASSERT_TRUE(worker.start(nullptr));
    auto job = [] {};
    EXPECT_TRUE(worker.request(Job::of(job)));
    EXPECT_TRUE(worker.wait());
    EXPECT_EQ(pthread_setaffinity_np(pthread_self(), sizeof usable, &usable), 0);
}

#endif

TEST(Worker, TakesNoJobWithoutAThread) {
    auto job = [] {};
    Worker worker(toOutput());
    EXPECT_FALSE(worker.request(Job::of(job)));
    EXPECT_TRUE(worker.wait()) << "nothing is pending, so nobody waits";
    ASSERT_TRUE(worker.start(nullptr));
    worker.clearRunFlag();
    EXPECT_FALSE(worker.request(Job::of(job))) << "a worker on its way out takes none either";
    EXPECT_TRUE(worker.join());
}

TEST(Worker, ThatEndsInItsOwnJobIsReplacedByTheNextStart) {
    Worker worker(toOutput());
    ASSERT_TRUE(worker.start(nullptr));
    auto last = [&] { worker.clearRunFlag(); };
    ASSERT_TRUE(worker.request(Job::of(last)));
    EXPECT_TRUE(worker.wait());
    auto job = [] {};
    EXPECT_FALSE(worker.request(Job::of(job)));
    ASSERT_TRUE(worker.start(nullptr));
    // the old thread may still be leaving; a start in place of it must serve jobs all the same
    for (int i = 0; i < 100 && !worker.request(Job::of(job)); ++i) {
        pause();
        ASSERT_TRUE(worker.start(nullptr));
    }
    EXPECT_TRUE(worker.wait());
    worker.clearRunFlag();
    EXPECT_TRUE(worker.join());
}

TEST_F(Workers, WhatTheJobsWroteIsVisibleAfterTheWait) {
    for (int round = 0; round < 2000; ++round) {
        int model = 0;
        int match = 0;
        auto modelJob = [&] { model = round + 1; };
        auto matchJob = [&] { match = round + 2; };
        ASSERT_TRUE(pair.runBoth(Job::of(modelJob), Job::of(matchJob)));
        ASSERT_EQ(model, round + 1);
        ASSERT_EQ(match, round + 2);
    }
}

TEST_F(Workers, BothJobsRunAtTheSameTime) {
    std::atomic<int> inside{0};
    auto meet = [&] {
        ++inside;
        while (inside < 2) std::this_thread::yield();  // ends only when the other one came
    };
    auto other = meet;
    EXPECT_TRUE(pair.runBoth(Job::of(meet), Job::of(other)));
}

TEST_F(Workers, AnExceptionFailsTheWaitAndLeavesTheWorkerServing) {
    auto good = [] {};
    auto bad = [] { throw std::runtime_error("no luck"); };
    for (int which = 0; which < 2; ++which) {
        const auto said = test::listen([&] {
            return which == 0 ? pair.runBoth(Job::of(bad), Job::of(good))
                              : pair.runBoth(Job::of(good), Job::of(bad));
        });
        EXPECT_FALSE(said.result);
        EXPECT_EQ(said.lines, Lines{"worker job failed: no luck"});
        EXPECT_TRUE(pair.runBoth(Job::of(good), Job::of(good))) << "the failure is not carried over";
    }
}

TEST_F(Workers, AJobThatReturnsFalseFailsTheWait) {
    auto good = [] { return true; };
    auto bad = [] { return false; };
    EXPECT_FALSE(pair.runBoth(Job::of(good), Job::of(bad)));
    EXPECT_FALSE(pair.runBoth(Job::of(bad), Job::of(good)));
    EXPECT_TRUE(pair.runBoth(Job::of(good), Job::of(good)));
}

TEST_F(Workers, WithoutOneOfThemNothingBegins) {
    pair.match.clearRunFlag();
    pair.match.join();
    bool ran = false;
    auto job = [&] { ran = true; };
    EXPECT_FALSE(pair.runBoth(Job::of(job), Job::of(job)));
    ASSERT_TRUE(pair.match.start(nullptr));
    pair.model.clearRunFlag();
    pair.model.join();
    EXPECT_FALSE(pair.runBoth(Job::of(job), Job::of(job)));
    EXPECT_FALSE(ran);
}

TEST_F(Workers, AreReportedUnderTheirNamesWhenTheyEnd) {
    EXPECT_EQ(test::captureLines([&] { pair.join("one", "two"); }),
              (Lines{"pthread_join one success", "pthread_join two success"}));
    EXPECT_EQ(test::captureLines([&] { pair.join("one", "two"); }),
              (Lines{"pthread_join one failed", "pthread_join two failed"}));
    auto job = [] {};
    EXPECT_FALSE(pair.runBoth(Job::of(job), Job::of(job)));
    EXPECT_FALSE(pair.runAlone(Job::of(job)));
    EXPECT_TRUE(pair.start());
    EXPECT_TRUE(pair.runAlone(Job::of(job)));
}

TEST_F(Workers, ShareALoopWithoutLeavingOutOrRepeatingAnIndex) {
    for (const std::int64_t count : {0, 1, 7, 64, 1000})
        for (const std::int64_t grain : {1, 8, 5000}) {
            std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
            std::atomic<bool> threadInRange{true};
            parallelFor(&pair, count, grain, [&](std::int64_t first, std::int64_t last, std::int32_t thread) {
                if (thread < 0 || thread >= loopThreads || last - first > grain) threadInRange = false;
                for (std::int64_t i = first; i < last; ++i) ++visits[static_cast<std::size_t>(i)];
            });
            EXPECT_TRUE(threadInRange);
            for (const auto& visit : visits) ASSERT_EQ(visit, 1);
        }
}

TEST(ParallelFor, RunsOnTheCallerWithoutWorkers) {
    std::vector<int> visits(100);
    const auto visit = [&](std::int64_t first, std::int64_t last, std::int32_t) {
        for (std::int64_t i = first; i < last; ++i) ++visits[static_cast<std::size_t>(i)];
    };
    parallelFor(nullptr, 100, 3, visit);
    WorkerPair stopped(toOutput());
    parallelFor(&stopped, 100, 3, visit);
    EXPECT_EQ(visits, std::vector<int>(100, 2));
}

}  // namespace
}  // namespace brantel
