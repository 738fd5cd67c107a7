// Threads and a director on a budget that somebody else has a part of.

#include "director/DirectorFixture.h"
#include "jobserver/Slots.h"

#include <atomic>
#include <thread>

using kelvarune::jobserver::Slots;
using kelvarune::jobserver::Tokens;

namespace {

constexpr unsigned JOBS = 4;

/// Slots that know how many were used at most.
class CountedSlots : public Slots {
public:
  using Slots::Slots;
  bool acquire(const std::function<bool()> &isWanted) override {
    const bool isMine = Slots::acquire(isWanted);
    if (isMine)
      most = std::max(most.load(), ++used); // a bound that is passed shows sooner or later
    return isMine;
  }
  void release() override {
    --used;
    Slots::release();
  }

  std::atomic<unsigned> used = 0;
  std::atomic<unsigned> most = 0;
};

unsigned tokensLeft(Tokens &tokens) {
  unsigned count = 0;
  for (; tokens.take(); ++count) {
  }
  return count;
}

class OnSlots : public Director {
protected:
  OnSlots() {
    std::string goals;
    for (int i = 0; i < 24; ++i)
      goals += "<Simple_Goal status=\"Unproved\"/>";
    directory.write("c.pos", "<Proof_Obligations><Proof_Obligation><Tag>A</Tag>" + goals +
                                 "</Proof_Obligation></Proof_Obligations>");
  }
  Tokens tokens = Tokens::serve(JOBS);
};

TEST_F(OnSlots, AreUsedByAllThreadsAndComeBack) {
  for (const unsigned others : {0U, 2U, JOBS - 1}) { // tokens that others have
    for (unsigned i = 0; i < others; ++i)
      ASSERT_TRUE(tokens.take());
    CountedSlots slots(tokens);
    std::atomic<int> work = 2000;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 2 * JOBS; ++i)
      threads.emplace_back([&] {
        while (slots.acquire([&work] { return work > 0; })) {
          --work;
          std::this_thread::yield();
          slots.release();
        }
        slots.wake();
      });
    for (std::thread &thread : threads)
      thread.join();
    EXPECT_LE(slots.most, JOBS - others);
    tokens.giveBackAll();
    EXPECT_EQ(tokensLeft(tokens), JOBS - 1) << others;
    tokens.giveBackAll();
  }
}

TEST_F(OnSlots, BoundTheEntriesOfADirector) {
  ASSERT_TRUE(tokens.take()); // somebody else's
  CountedSlots slots(tokens);
  ProofDirector &played = make(driver("d1") + driver("d2"), "always", "", 2 * JOBS);
  played.setJobSlots(slots);
  play(played);
  EXPECT_EQ(played.progress().finished, 24U);
  EXPECT_EQ(slots.most, JOBS - 1);
  EXPECT_EQ(slots.used, 0U);
  EXPECT_EQ(tokensLeft(tokens), JOBS - 2);
}

TEST_F(OnSlots, AreNotWaitedForAfterAStop) {
  Slots slots(tokens);
  for (unsigned i = 0; i < JOBS; ++i)
    ASSERT_TRUE(slots.acquireNow());
  EXPECT_FALSE(slots.acquireNow());
  ProofDirector &waiting = make(driver("d1"), "always", "", JOBS);
  waiting.setJobSlots(slots);
  std::thread stopper([&waiting] {
    while (waiting.progress().total == 0)
      std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(waiting.stop());
  });
  play(waiting);
  stopper.join();
  EXPECT_EQ(waiting.progress().started, 0U);
  for (unsigned i = 0; i < JOBS; ++i)
    slots.release();
  EXPECT_EQ(tokensLeft(tokens), JOBS - 1);
}

} // namespace
