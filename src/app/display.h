#pragma once

namespace quorin::app {

/// While one exists, a missing display ends the program with one sentence and exit status 1, where
/// Qt would abort it. For the time in which the QApplication is made; main thread, one at a time.
class DisplayRequired {
 public:
  DisplayRequired();
  ~DisplayRequired();
  DisplayRequired(const DisplayRequired&) = delete;
  DisplayRequired& operator=(const DisplayRequired&) = delete;
};

}  // namespace quorin::app
