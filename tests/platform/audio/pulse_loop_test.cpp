#include "platform/audio/backend/pulse_loop.h"

#include "support/eventually.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <functional>
#include <utility>

/// The loop without libpulse: what that would ask for is asked for here.
namespace quorin::audio {
namespace {

using namespace std::chrono_literals;
using dispatch::TimePoint;
using test::eventually;

/// When something happened for the last time.
class Moment {
 public:
  void note() { time_ = std::chrono::steady_clock::now(); }
  TimePoint time() const { return time_; }
  bool hasCome() const { return time() != TimePoint{}; }

 private:
  std::atomic<TimePoint> time_{TimePoint{}};
};

/// One byte in a pipe, and when it was read.
class Pipe {
 public:
  explicit Pipe(PulseLoop& loop) : api_(loop.api()) {
    EXPECT_EQ(::pipe(ends_.data()), 0);
    event = api_->io_new(
        api_, ends_[0], PA_IO_EVENT_INPUT,
        [](pa_mainloop_api*, pa_io_event*, int descriptor, pa_io_event_flags_t, void* self) {
          char byte = 0;
          EXPECT_EQ(::read(descriptor, &byte, 1), 1);
          static_cast<Pipe*>(self)->read.note();
        },
        this);
  }
  ~Pipe() {
    for (const int end : ends_) ::close(end);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void write() const { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }

  Moment read;
  pa_io_event* event;

 private:
  pa_mainloop_api* api_;
  std::array<int, 2> ends_{};
};

/// Runs `work` once on the loop's thread; returns when it has.
void runOn(PulseLoop& loop, std::function<void()> work) {
  struct Run {
    std::function<void()> work;
    std::atomic<bool> done = false;
  } run{std::move(work)};
  {
    const PulseLoop::Lock lock(loop);
    auto* const api = loop.api();
    api->defer_new(
        api,
        [](pa_mainloop_api* its, pa_defer_event* event, void* data) {
          its->defer_free(event);
          static_cast<Run*>(data)->work();
          static_cast<Run*>(data)->done = true;
        },
        &run);
  }
  ASSERT_TRUE(eventually([&] { return run.done.load(); }));
}

TEST(PulseLoop, LetsWhatComesLieDuringANapButNothingElse) {
  PulseLoop loop("loop", [] {});
  Pipe pipe(loop);
  pipe.write();
  loop.start();
  ASSERT_TRUE(eventually([&] { return pipe.read.hasCome(); }));

  TimePoint napEnd;
  const auto nap = [&](std::chrono::milliseconds length) {
    napEnd = std::chrono::steady_clock::now() + length;
    loop.napUntil(napEnd);
  };
  runOn(loop, [&] { nap(50ms); });
  pipe.write();
  ASSERT_TRUE(eventually([&] { return pipe.read.time() >= napEnd; })) << "read once it is over";

  Moment timer;
  runOn(loop, [&] {
    nap(10s);
    loop.callAfter(
        5ms,
        [](pa_mainloop_api* its, pa_time_event* event, const timeval*, void* moment) {
          its->time_free(event);
          static_cast<Moment*>(moment)->note();
        },
        &timer);
  });
  ASSERT_TRUE(eventually([&] { return timer.hasCome(); }, 5s));
  runOn(loop, [] {});
  EXPECT_LT(std::chrono::steady_clock::now(), napEnd) << "what another thread asks for";
  loop.stop();
  loop.api()->io_free(pipe.event);
}

TEST(PulseLoop, ForgetsWhatIsFreedWhileItRuns) {
  PulseLoop loop("loop", [] {});
  auto* const api = loop.api();
  Pipe freed(loop);
  Pipe kept(loop);
  struct Deferred {
    pa_io_event* victim;
    int runs = 0;
    int destroyed = 0;
  } deferred{freed.event};
  auto* const event = api->defer_new(
      api,
      [](pa_mainloop_api* its, pa_defer_event* self, void* data) {
        ++static_cast<Deferred*>(data)->runs;
        its->io_free(static_cast<Deferred*>(data)->victim);
        its->defer_free(self);
      },
      &deferred);
  api->defer_set_destroy(event, [](pa_mainloop_api*, pa_defer_event*, void* data) {
    ++static_cast<Deferred*>(data)->destroyed;
  });
  freed.write();
  kept.write();
  loop.start();
  ASSERT_TRUE(eventually([&] { return kept.read.hasCome(); }));
  loop.stop();
  EXPECT_FALSE(freed.read.hasCome());
  EXPECT_EQ(deferred.runs, 1);
  EXPECT_EQ(deferred.destroyed, 1);
  api->io_free(kept.event);
}

}  // namespace
}  // namespace quorin::audio
