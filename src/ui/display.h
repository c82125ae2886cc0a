#pragma once

#include <QtGlobal>

namespace quorin::app {

/// While one exists, the lack of a display ends the program with a sentence and exit status 1,
/// where Qt would abort it. Around the making of the QApplication, of which it needs the name; one
/// at a time.
class DisplayRequired {
 public:
  DisplayRequired();
  ~DisplayRequired();
  DisplayRequired(const DisplayRequired&) = delete;
  DisplayRequired& operator=(const DisplayRequired&) = delete;

 private:
  const QtMessageHandler handlerBefore_;
};

}  // namespace quorin::app
