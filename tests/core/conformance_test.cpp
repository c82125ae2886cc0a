#include "core/simulated_scheduler.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

// One set of rules, run on simulated time and on the real threads.
namespace quorin::dispatch {
namespace {

using namespace std::chrono_literals;

enum class Kind { kSimulated, kSystem };

class DispatchConformance : public testing::TestWithParam<Kind> {
 protected:
  DispatchConformance() {
    if (GetParam() == Kind::kSimulated) {
      auto simulated = std::make_unique<SimulatedScheduler>();
      simulated_ = simulated.get();
      scheduler_ = std::move(simulated);
    } else {
      scheduler_ = makeSystemScheduler();
    }
  }

  /// Lets time pass until `done`, at most 5 s of it.
  [[nodiscard]] bool passUntil(const std::function<bool()>& done) {
    const auto end = scheduler_->now() + 5s;
    while (!done() && scheduler_->now() < end) {
      if (simulated_ != nullptr) {
        simulated_->advance(1ms);
      } else {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
      }
    }
    return done();
  }

  /// Lets everything that is due on `queue` run, and `duration` pass.
  void pass(Queue& queue, Duration duration) {
    std::atomic<bool> passed = false;
    queue.asyncAfter(duration, [&] { passed = true; });
    if (simulated_ != nullptr) simulated_->advance(duration);
    EXPECT_TRUE(passUntil([&] { return passed.load(); }));
  }

  std::unique_ptr<SerialQueue> makeQueue() { return scheduler_->makeSerialQueue("test.queue"); }

  std::unique_ptr<Scheduler> scheduler_;
  SimulatedScheduler* simulated_ = nullptr;
};

/// What happened, in order, from whatever thread.
class Journal {
 public:
  void write(std::string entry) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back(std::move(entry));
  }
  std::vector<std::string> entries() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }
  std::size_t size() const { return entries().size(); }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

using Entries = std::vector<std::string>;

TEST_P(DispatchConformance, TasksRunInTheOrderOfPostingAlsoFromInsideATask) {
  const auto queue = makeQueue();
  Journal journal;
  queue->async([&] {
    journal.write("a");
    queue->async([&] { journal.write("c"); });
    journal.write("b");
  });
  EXPECT_TRUE(passUntil([&] { return journal.size() == 3; }));
  EXPECT_EQ(journal.entries(), (Entries{"a", "b", "c"}));
}

TEST_P(DispatchConformance, ATimerDoesNotDrift) {
  for (Queue* queue : {&scheduler_->mainQueue(), &scheduler_->utilityQueue()}) {
    const auto start = scheduler_->now();
    std::mutex mutex;
    std::vector<TimePoint> runs;
    const auto timer = queue->makeTimer({.first = 5ms, .interval = 10ms}, [&] {
      const std::scoped_lock lock(mutex);
      runs.push_back(scheduler_->now());
    });
    EXPECT_TRUE(passUntil([&] {
      const std::scoped_lock lock(mutex);
      return runs.size() >= 10;
    }));
    const std::scoped_lock lock(mutex);
    for (std::size_t n = 0; n < 10; ++n) {
      EXPECT_GE(runs[n], start + 5ms + n * 10ms) << queue->label() << " run " << n;
    }
    if (simulated_ != nullptr) {
      EXPECT_EQ(runs[9], start + 95ms);
    }
  }
}

TEST_P(DispatchConformance, ATimerEndsExactlyWhenItsHandlerDestroysIt) {
  auto& queue = scheduler_->mainQueue();
  int runs = 0;
  std::unique_ptr<Timer> timer;
  timer = queue.makeTimer({.interval = 1ms}, [&] {
    if (++runs == 3) timer.reset();
  });
  EXPECT_TRUE(passUntil([&] { return runs == 3; }));
  pass(queue, 20ms);
  EXPECT_EQ(runs, 3);
}

TEST_P(DispatchConformance, EndingAQueueDropsWhatWaitsAndLeavesItsHandlesInert) {
  auto queue = makeQueue();
  const auto release = scheduler_->now() + 100ms;
  Journal journal;
  const auto token = std::make_shared<int>();
  std::atomic<bool> begun = false;
  queue->async([&] {  // keeps the queue's thread until its end has begun
    begun = true;
    while (simulated_ == nullptr && scheduler_->now() < release) {
    }
  });
  EXPECT_TRUE(passUntil([&] { return begun.load(); }));
  queue->async([&journal, token] { journal.write("task"); });
  queue->asyncAfter(1ms, [&journal, token] { journal.write("delayed"); });
  auto timer = queue->makeTimer({.interval = 1ms}, [&journal, token] { journal.write("timer"); });
  auto event = queue->makeEventSource([&journal, token] { journal.write("event"); });
  EXPECT_EQ(token.use_count(), 5);

  queue.reset();
  EXPECT_EQ(token.use_count(), 1);  // all of it destroyed, none of it run
  event->signal();
  timer.reset();
  event.reset();
  pass(scheduler_->mainQueue(), 5ms);
  EXPECT_EQ(journal.size(), 0U);
}

TEST_P(DispatchConformance, AnEndedSchedulerRunsNothingMore) {
  std::atomic<int> runs = 0;
  for (Queue* queue :
       {&scheduler_->mainQueue(), &scheduler_->utilityQueue(), &scheduler_->backgroundQueue()}) {
    queue->async([&] { ++runs; });
  }
  EXPECT_TRUE(passUntil([&] { return runs == 3; }));
  const auto main = scheduler_->mainQueue().makeTimer({.interval = 1ms}, [&] { ++runs; });
  scheduler_->end();
  const int atEnd = runs;
  scheduler_->utilityQueue().async([&] { ++runs; });
  pass(*makeQueue(), 5ms);
  EXPECT_EQ(runs, atEnd);
}

TEST_P(DispatchConformance, SignalsCoalesceAndOneFromTheHandlerRunsItAgain) {
  auto& queue = scheduler_->mainQueue();
  int runs = 0;
  std::unique_ptr<EventSource> event;
  event = queue.makeEventSource([&] {
    if (++runs == 1) event->signal();
  });
  event->signal();
  event->signal();
  EXPECT_TRUE(passUntil([&] { return runs == 2; }));
  pass(queue, 5ms);
  EXPECT_EQ(runs, 2);
}

TEST_P(DispatchConformance, AReadSourceRunsUntilTheDataIsReadAndNotAfterItsEnd) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
  const posix::FileDescriptor reader(ends[0]), writer(ends[1]);
  for (Queue* queue : {&scheduler_->mainQueue(), &scheduler_->utilityQueue()}) {
    std::atomic<int> runs = 0;
    std::unique_ptr<ReadSource> source;
    ASSERT_EQ(::write(writer.get(), "abcd", 4), 4);
    queue->async([&] {  // there, so that the handler cannot begin before the handle is stored
      source = queue->makeReadSource(reader.get(), [&] {
        char byte{};
        EXPECT_EQ(::read(reader.get(), &byte, 1), 1);
        if (++runs == 3) source.reset();
      });
    });
    EXPECT_TRUE(passUntil([&] { return runs == 3; })) << queue->label();
    pass(*queue, 5ms);
    EXPECT_EQ(runs, 3);
    char rest{};
    EXPECT_EQ(::read(reader.get(), &rest, 1), 1);
  }
}

TEST_P(DispatchConformance, AFloodOfTasksStarvesNeitherTimersNorSources) {
  auto& queue = scheduler_->mainQueue();
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
  const posix::FileDescriptor reader(ends[0]), writer(ends[1]);
  bool flooding = true;
  int tasks = 0;
  std::function<void()> flood = [&] {
    ++tasks;
    if (flooding && tasks < 1'000'000) queue.async(flood);
  };
  bool read = false;
  const auto source = queue.makeReadSource(reader.get(), [&] {
    char byte{};
    read = ::read(reader.get(), &byte, 1) == 1 || read;
    if (read) flooding = false;
  });
  ASSERT_EQ(::write(writer.get(), "x", 1), 1);
  queue.async(flood);
  EXPECT_TRUE(passUntil([&] { return !flooding; }));
  EXPECT_LT(tasks, 1000);
}

INSTANTIATE_TEST_SUITE_P(All, DispatchConformance, testing::Values(Kind::kSimulated, Kind::kSystem),
                         [](const auto& suite) {
                           return suite.param == Kind::kSimulated ? "Simulated" : "System";
                         });

}  // namespace
}  // namespace quorin::dispatch
