#pragma once

#include <functional>
#include <string_view>

/// The two places where a developer reads what happened. Any thread; one line a call, written
/// whole.
namespace quorin::log {

/// From now on lines on standard error, Qt's own as well, are written at once or dropped and
/// counted: a slow reader does not hold up the program. Before any thread is started.
void neverWait();

/// A line of the capture object or of the panel's server, to standard output. Dropped while
/// its reader does not read.
void print(std::string_view line);

/// `print`, or what stands in for it in a test. Any thread.
using PrintLine = std::function<void(std::string_view)>;

/// A line of the program's own log, to standard error under the logging category
/// "quorin.<area>"; shown unless the user silences that category.
void note(std::string_view area, std::string_view line);

/// As `note`, but only with --verbose (or the category's debug level switched on).
void detail(std::string_view area, std::string_view line);

}  // namespace quorin::log
