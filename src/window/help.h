#pragma once

#include "ui/texts.h"

class QWidget;

namespace quorin::app {

/// The help, in a window of its own: what a phone needs, the ports, and what `--diagnose`, asked of
/// this program's file, finds on this computer with `port`. Main thread.
void showHelp(const Texts& texts, const QString& port, QWidget* window);

}  // namespace quorin::app
