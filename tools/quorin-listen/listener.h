#pragma once

#include "quorin-listen/options.h"
#include "quorin-listen/reception.h"
#include "quorin-listen/sound_source.h"

namespace quorin::listen {

/// Listens as the options ask until the time is up, a signal comes or the source ends; prints the
/// live line and the result on standard output, and what went wrong on standard error.
///
/// SIGINT and SIGTERM are blocked in the calling thread from here on and taken in the loop, so it
/// is to be called before any other thread is started.
ExitCode listen(const Options& options);

}  // namespace quorin::listen
