#pragma once

#include "ui/texts.h"

class QWidget;

namespace quorin::app {

/// The help, in a window of its own: what a phone needs, the ports, and the output of this
/// program's `--diagnose` for `port`. Main thread.
void showHelp(const Texts& texts, const QString& port, QWidget* window);

}  // namespace quorin::app
