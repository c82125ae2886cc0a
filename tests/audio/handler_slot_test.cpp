#include "audio/handler_slot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace quorin::audio {
namespace {

TEST(HandlerSlot, AReplacedHandlerIsDestroyedAtOnceUnlessItRuns) {
  HandlerSlot<int> slot;
  const auto token = std::make_shared<int>();
  slot.replace([token](int) {});
  slot.call(1);
  slot.replace({});
  EXPECT_EQ(token.use_count(), 1);

  slot.replace([token, &slot](int) {
    slot.replace({});
    EXPECT_EQ(token.use_count(), 2);  // still whole
  });
  slot.call(2);
  slot.replace({});
  EXPECT_EQ(token.use_count(), 1);
}

TEST(HandlerSlot, MayBeReplacedWhileAnotherThreadCalls) {
  // Each handler owns a number that it marks dead when destroyed: a call of a dead one shows.
  struct Alive {
    ~Alive() { alive = false; }
    std::atomic<bool> alive = true;
  };
  HandlerSlot<std::atomic<int>&> slot;
  std::atomic<int> dead = 0;
  std::atomic<int> calls = 0;
  std::atomic<bool> stop = false;
  std::thread caller([&] {
    while (!stop) slot.call(dead);
  });
  for (int i = 0; i < 20'000 || calls < 1000; ++i) {
    slot.replace([life = std::make_shared<Alive>(), &calls](std::atomic<int>& counter) {
      ++calls;
      if (!life->alive) ++counter;
    });
    if (i % 7 == 0) slot.replace({});
  }
  stop = true;
  caller.join();
  EXPECT_EQ(dead, 0);
}

}  // namespace
}  // namespace quorin::audio
