// Two workers that stand idle, for steps that workers may help with.
#pragma once

#include <gtest/gtest.h>

#include "common/worker_pair.h"
#include "support/test_log.h"

namespace brantel::test {

class IdleWorkers {
  public:
    IdleWorkers() { EXPECT_TRUE(pair_.start()); }

    WorkerPair* pair() { return &pair_; }

  private:
    WorkerPair pair_{toOutput()};  // whose end ends the threads
};

}  // namespace brantel::test
