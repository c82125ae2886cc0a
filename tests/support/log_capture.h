#pragma once

#include <string>
#include <vector>

namespace quorin::test {

/// Collects the lines of the program's own log (`log::note`) while it lives; one at a time.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// The lines since the last call.
  std::vector<std::string> take();
};

}  // namespace quorin::test
