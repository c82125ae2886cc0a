#pragma once

#include <functional>
#include <string_view>

/// Logging to standard output and standard error. Any thread; one line per call, written
/// atomically.
namespace quorin::log {

/// From now on lines on standard error, Qt's own as well, are written at once or dropped and
/// counted: a slow reader does not hold up the program. Call before starting any thread.
void neverWait();

/// Shows the lines that are for --verbose, from now on.
void setVerbose();

/// Writes a line of the capture or of the panel's server to standard output; to a terminal only
/// with --verbose. Dropped while the reader does not read.
void print(std::string_view line);

/// `print`, or a test's replacement. Any thread.
using PrintLine = std::function<void(std::string_view)>;

/// Writes a line of the program's log to standard error under the logging category "quorin.<area>";
/// shown unless the user silences that category.
void note(std::string_view area, std::string_view line);

/// As `note`, but only with --verbose (or the category's debug level switched on).
void detail(std::string_view area, std::string_view line);

/// As `note`, but to a terminal only with --verbose.
void noteInFile(std::string_view area, std::string_view line);

}  // namespace quorin::log
