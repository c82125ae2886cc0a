#pragma once

#include "ui/picture.h"

#include <QIcon>
#include <QString>

namespace quorin::app {

using pictures::PicturePtr;

/// The program's images by name. Main thread.
class Images {
 public:
  /// `folder` holds "pictures" and "symbols".
  explicit Images(QString folder = QStringLiteral(":/quorin")) : folder_(std::move(folder)) {}

  /// The drawing of this name, else the PNG file of the same base name; none when neither exists
  /// or the file does not load.
  PicturePtr imageNamedSafe(const QString& name) const;

  /// What a view shows: the image under its bare name, or under the name with ".png".
  PicturePtr imageForView(const QString& name) const;

  /// A symbol such as "mic.slash"; all of it in `color`.
  PicturePtr symbol(const QString& name, const QColor& color) const;

  /// The image as an icon that is drawn when a size of it is asked for; the null icon when there
  /// is no such image.
  QIcon icon(const QString& name) const;

 private:
  QString folder_;
};

}  // namespace quorin::app
