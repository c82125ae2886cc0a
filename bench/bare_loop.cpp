#include "bench/bare_loop.h"

#include "wire/audio_chunk.h"

#include <pthread.h>
#include <sched.h>

#include <ctime>
#include <thread>

namespace quorin::bench {
namespace {

constexpr std::chrono::nanoseconds kTick = wire::kChunkDuration;

timespec timespecOf(std::chrono::nanoseconds time) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  return {.tv_sec = time.count() / kSecond, .tv_nsec = time.count() % kSecond};
}

std::chrono::nanoseconds monotonicNow() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace

bool runBareLoop(LoopPriority priority, const std::function<bool(std::chrono::nanoseconds)>& woke) {
  const sched_param fifo{.sched_priority = 10};
  if (priority == LoopPriority::kRealtime &&
      ::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &fifo) != 0) {
    return false;
  }
  auto due = monotonicNow();
  do {
    due += kTick;
    const auto deadline = timespecOf(due);
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0) {
    }
  } while (woke(monotonicNow()));
  return true;
}

measure::Spread bareLoop(std::chrono::seconds duration, LoopPriority priority) {
  measure::ArrivalStatistics wakeUps;
  std::thread([&] {
    const auto end = monotonicNow() + duration;
    runBareLoop(priority, [&](std::chrono::nanoseconds now) {
      wakeUps.add(now, wire::kChunkFrames);
      return now < end;
    });
  }).join();
  return wakeUps.deviation();
}

}  // namespace quorin::bench
