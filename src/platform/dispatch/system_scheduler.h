#pragma once

#include "core/scheduler.h"

#include <memory>

namespace quorin::dispatch {

/// The real thing: the main queue on the event loop of the thread that creates it (which needs a
/// QCoreApplication by then), every other queue on a thread of its own. Ends all of them when
/// destroyed, on the creating thread, after the queues made by `makeSerialQueue`.
std::unique_ptr<Scheduler> makeSystemScheduler();

}  // namespace quorin::dispatch
