#pragma once

namespace quorin::posix {

/// The whole of a program's `main`: prepares the process for a hostile environment, runs `launch`
/// and returns its result.
///
/// Standard streams that were closed lead to /dev/null, so that no socket takes their place. A
/// closed standard output does not end the program, and a blocked one stops no thread (see
/// `log::neverWait`). Too few file descriptors, too little memory or too few threads give one
/// sentence on standard error and exit status 1.
int runProgram(const char* name, int argc, char** argv, int (*launch)(int argc, char** argv));

}  // namespace quorin::posix
