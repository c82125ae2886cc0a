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

measure::Spread bareLoop(std::chrono::seconds duration, LoopPriority priority) {
  measure::ArrivalStatistics wakeUps;
  std::thread([&] {
    const sched_param fifo{.sched_priority = 10};
    if (priority == LoopPriority::kRealtime &&
        ::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &fifo) != 0) {
      return;
    }
    const auto begin = monotonicNow();
    for (auto due = begin; due < begin + duration; due += kTick) {
      const auto deadline = timespecOf(due);
      while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0) {
      }
      wakeUps.add(monotonicNow(), wire::kChunkFrames);
    }
  }).join();
  return wakeUps.deviation();
}

}  // namespace quorin::bench
