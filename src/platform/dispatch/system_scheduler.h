#pragma once

#include "core/scheduler.h"

#include <memory>

namespace quorin::dispatch {

/// The scheduler in real time: the main queue runs on the event loop of the creating thread (which
/// needs a QCoreApplication by then), every other queue on its own thread. Ends all of them when
/// destroyed, on the creating thread, after the queues made by `makeSerialQueue`.
std::unique_ptr<Scheduler> makeSystemScheduler();

}  // namespace quorin::dispatch
