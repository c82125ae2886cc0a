#pragma once

#include "quorin-listen/options.h"
#include "quorin-listen/sound_source.h"

namespace quorin::listen {

/// Listens as the options ask until the time is up, a signal comes or the source ends; prints the
/// live line and the result on standard output, and what went wrong on standard error.
///
/// Takes SIGINT and SIGTERM over for the rest of the process. Standard output is checked by the
/// caller.
ExitCode listen(const Options& options);

}  // namespace quorin::listen
