#include "platform/dispatch/system_scheduler.h"

#include "core/queue_core.h"
#include "platform/dispatch/epoll_waker.h"
#include "platform/dispatch/realtime.h"

#include <pthread.h>

#include <QSocketNotifier>
#include <QThread>
#include <array>
#include <atomic>
#include <cassert>
#include <ctime>
#include <functional>
#include <thread>

namespace quorin::dispatch {
namespace {

/// The kernel keeps 15 characters of a thread's name: the end of a dotted label says more.
void nameThread(const std::string& label) {
  const auto dot = label.rfind('.');
  const auto name = (dot == std::string::npos ? label : label.substr(dot + 1)).substr(0, 15);
  ::pthread_setname_np(::pthread_self(), name.c_str());
}

class ThreadQueue : public SerialQueue {
 public:
  /// `onThread` runs on the new thread, first of all.
  explicit ThreadQueue(const std::string& label, std::function<void()> onThread = {})
      : SerialQueue(std::make_shared<QueueCore>(std::make_unique<EpollWaker>())) {
    thread_ = std::thread([this, label, onThread = std::move(onThread)] {
      nameThread(label);
      if (onThread) onThread();
      run();
    });
  }

  ~ThreadQueue() override { ThreadQueue::end(); }

  void end() override {
    assert(!isCurrent());
    if (!thread_.joinable()) return;
    stopping_ = true;
    waker_.wake();
    thread_.join();
    core_->end();
  }

 private:
  void run() {
    while (!stopping_) {
      if (core_->runOne()) {
        waker_.collect(*core_, EpollWaker::Wait::kNo);
      } else {
        waker_.setDeadline(core_->nextDeadline());
        waker_.collect(*core_, EpollWaker::Wait::kYes);
      }
    }
  }

  EpollWaker& waker_ = static_cast<EpollWaker&>(core_->waker());
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

/// Qt's event loop watches the queue's single epoll descriptor, so timers keep their precision and
/// work runs in the same order as on every queue.
class MainQueue : public Queue {
 public:
  MainQueue()
      : Queue(std::make_shared<QueueCore>(std::make_unique<EpollWaker>())),
        notifier_(waker_.descriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { runSome(); });
  }

  ~MainQueue() override { end(); }

  void end() {
    notifier_.setEnabled(false);
    core_->end();
  }

  bool isCurrent() const override { return QThread::currentThread() == notifier_.thread(); }

 private:
  /// Afterwards Qt's event loop runs, so that a flood of work never freezes the window.
  static constexpr int kMaxPiecesPerTurn = 32;

  void runSome() {
    waker_.collect(*core_, EpollWaker::Wait::kNo);
    int pieces = 0;
    while (pieces < kMaxPiecesPerTurn && core_->runOne()) ++pieces;
    if (pieces == kMaxPiecesPerTurn) waker_.wake();
    waker_.setDeadline(core_->nextDeadline());
  }

  EpollWaker& waker_ = static_cast<EpollWaker&>(core_->waker());
  QSocketNotifier notifier_;
};

class SystemScheduler : public Scheduler {
 public:
  TimePoint now() const override { return std::chrono::steady_clock::now(); }
  BootTime bootNow() const override {
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return BootTime(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
  }
  WallTime wallNow() const override { return std::chrono::system_clock::now(); }
  Queue& mainQueue() override { return main_; }
  Queue& utilityQueue() override { return utility_; }
  Queue& backgroundQueue() override { return background_; }

  void end() override {
    background_.end();
    utility_.end();
    main_.end();
  }

  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label,
                                               Priority priority) override {
    std::function<void()> onThread;
    if (priority == Priority::kRealtime) onThread = [this] { requestRealtime(background_); };
    return std::make_unique<ThreadQueue>(label, std::move(onThread));
  }

 private:
  MainQueue main_;
  ThreadQueue utility_{"utility"};
  ThreadQueue background_{"background"};
};

}  // namespace

std::unique_ptr<Scheduler> makeSystemScheduler() {
  return std::make_unique<SystemScheduler>();
}

}  // namespace quorin::dispatch
