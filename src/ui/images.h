#pragma once

#include "ui/picture.h"

#include <QIcon>
#include <QString>

/// The program's images by name. Main thread.
namespace quorin::app {

using pictures::PicturePtr;

/// The drawing of this name, else the PNG file of the same base name; none when neither exists or
/// the file does not load.
PicturePtr imageNamedSafe(const QString& name);

/// The image by its bare name, or else by the name with ".png".
PicturePtr imageForView(const QString& name);

/// A symbol such as "mic.slash"; all of it in `color`.
PicturePtr symbol(const QString& name, const QColor& color);

/// The null icon when there is no such image.
QIcon icon(const QString& name);

}  // namespace quorin::app
