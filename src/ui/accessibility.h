#pragma once

#include <QString>

class QWidget;

namespace quorin::app {

/// Gives the window's own widgets accessible roles: pages are groups, pictures are graphics. Once
/// per program; further calls have no effect.
void installAccessibleRoles();

/// Has a screen reader say `text`, wherever the focus is. `window` contains its subject.
void announce(QWidget& window, const QString& text);

}  // namespace quorin::app
