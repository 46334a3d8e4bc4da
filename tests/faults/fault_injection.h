// Makes chosen allocations and thread creations of this test program and of the libraries it is linked with
// fail.
#pragma once

#include <cstdint>

namespace brantel::test {

enum class FaultThreads { all, onlyWorkers };
enum class FaultLength { once, fromThenOn };

/// A plan to fail one allocation (operator new, aligned memory, pages from the system). Allocations are only
/// counted, and only fail, while the plan is armed; counting goes on over several arms.
class FailingAllocation {
  public:
    /// number counts from 1; 0 only counts.
    FailingAllocation(std::int64_t number, FaultLength length, FaultThreads threads);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Runs step with the plan armed and returns what it returns.
    template <class Step>
    auto during(Step&& step) {
        const Arm arm;
        return step();
    }

    /// How many allocations were seen, and whether one was made to fail.
    static std::int64_t seen();
    static bool struck();

  private:
    struct Arm {
        Arm();
        ~Arm();
    };
};

/// Lets the number-th next creation of a thread fail.
class FailingThread {
  public:
    explicit FailingThread(int number);
    FailingThread(const FailingThread&) = delete;
    FailingThread& operator=(const FailingThread&) = delete;
    ~FailingThread();
};

/// Blocks from operator new that nobody has deleted.
std::int64_t liveBlocks();

}  // namespace brantel::test
