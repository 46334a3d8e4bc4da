// Two workers that stand idle, to lend a hand.
#pragma once

#include <gtest/gtest.h>

#include "common/worker_pair.h"

namespace brantel::test {

class Crew {
  public:
    Crew() {
        EXPECT_TRUE(pair_.model.start(nullptr));
        EXPECT_TRUE(pair_.match.start(nullptr));
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;
    ~Crew() {
        pair_.clearRunFlags();
        pair_.model.join();
        pair_.match.join();
    }

    WorkerPair* workers() { return &pair_; }

  private:
    WorkerPair pair_;
};

}  // namespace brantel::test
