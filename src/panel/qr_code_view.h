#pragma once

#include "ui/picture.h"

#include <QString>
#include <QWidget>

namespace quorin::panel {

/// A text as a QR code of level L, white modules on nothing, so that it sits on a dark card; a
/// reader on a white ground would see nothing. A text that no code holds shows a grey square that
/// says so.
class QRCodeView : public QWidget {
 public:
  static constexpr int kNaturalSide = 250;

  explicit QRCodeView(const QString& text = {});

  void setData(const QString& text);

  QSize sizeHint() const override { return {kNaturalSide, kNaturalSide}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void showFailure(QPainter& painter) const;

  QString data_;
  pictures::PicturePtr code_;  ///< none: the text cannot be shown
};

}  // namespace quorin::panel
