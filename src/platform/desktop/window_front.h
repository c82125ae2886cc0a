#pragma once

#include <QtGui/qwindowdefs.h>

#include <QString>

class QWindow;

namespace quorin::desktop {

/// Puts a window that is shown in front and gives it the keyboard, on behalf of the user action
/// identified by `token`: Wayland's activation token or X11's startup id; may be empty. On X11 it
/// also ends the launcher's startup notification. GUI thread.
void bringToFront(QWindow& window, const QString& token);

/// X11's own tray, which needs no D-Bus, is there. GUI thread.
bool hasX11Tray();

/// Asks the window manager to decorate the window in dark colours, where it can. Before it is
/// shown; GUI thread.
void askForDarkTitleBar(WId window);

}  // namespace quorin::desktop
