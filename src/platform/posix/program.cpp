#include "platform/posix/program.h"

#include "core/log.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>

namespace quorin::posix {
namespace {

/// A window on its display, the audio and D-Bus connections, queues and ten clients' sockets.
constexpr rlim_t kMinDescriptors = 128;

const char* programName = "";

/// The audio libraries abort the process where they cannot map their pools of 64 MB.
constexpr rlim_t kMinAddressSpace = rlim_t{1} << 30U;

/// Without allocating, from any thread.
[[noreturn]] void fail(const char* sentence) {
  for (const char* text : {programName, ": ", sentence, "\n"}) {
    if (::write(STDERR_FILENO, text, std::strlen(text)) < 0) break;
  }
  std::_Exit(EXIT_FAILURE);
}

[[noreturn]] void failForMemory() {
  fail("There is too little memory. Close other programs, or raise the limit (ulimit -v 1048576).");
}

/// For unhandled exceptions, on any thread.
[[noreturn]] void terminate() {
  try {
    if (const auto exception = std::current_exception()) std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    failForMemory();
  } catch (const std::system_error& error) {
    fail(error.what());
  } catch (...) {
  }
  std::abort();
}

void openClosedStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free descriptor is the one that is closed.
    if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF) ::open("/dev/null", O_RDWR);
  }
}

void requireDescriptors() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= kMinDescriptors) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < kMinDescriptors) {
    fail("There are too few file descriptors; it needs 128 of them (ulimit -n 128).");
  }
}

void requireAddressSpace() {
  rlimit limit{};
  ::getrlimit(RLIMIT_AS, &limit);
  if (limit.rlim_cur < kMinAddressSpace) failForMemory();
}

}  // namespace

int runProgram(const char* name, int argc, char** argv, int (*launch)(int argc, char** argv)) {
  programName = name;
  openClosedStreams();
  std::signal(SIGPIPE, SIG_IGN);
  std::set_new_handler(failForMemory);
  std::set_terminate(terminate);
  requireDescriptors();
  requireAddressSpace();
  log::neverWait();
  return launch(argc, argv);
}

}  // namespace quorin::posix
