#pragma once

#include <QString>

class QWidget;

namespace quorin::app {

/// Tells assistive programs what the window's own kinds of view are: pages are groups, pictures
/// are graphics. Once per program; further calls have no effect.
void installAccessibleRoles();

/// Has a screen reader say `text`, wherever the focus is. `window` holds what it is about.
void announce(QWidget& window, const QString& text);

}  // namespace quorin::app
