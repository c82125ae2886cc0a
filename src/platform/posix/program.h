#pragma once

namespace quorin::posix {

/// The whole of a program's `main`: returns what `launch` returns, in a process whose surroundings
/// do it no harm.
///
/// Standard streams that were closed lead to /dev/null, so that no socket takes their place. A
/// reader of standard output that goes away ends nothing, and one that stops reading stops no
/// thread (see `log::neverWait`). Too few file descriptors, too little memory or too few threads
/// are one sentence on standard error and exit status 1.
int runProgram(const char* name, int argc, char** argv, int (*launch)(int argc, char** argv));

}  // namespace quorin::posix
