#pragma once

#include "ui/controls.h"

namespace quorin::app {

/// A green dot that stands for one phone. Its tool tip and accessible name identify the phone; a
/// click or the context menu offers to disconnect it, the Delete key disconnects it.
class PhoneDot : public PaintedButton {
  Q_OBJECT
 public:
  PhoneDot(const QString& disconnectText, QWidget* parent);

  /// `endpoint` names the phone to the program, `description` to the user.
  void setPhone(const QString& endpoint, const QString& description);

 signals:
  void disconnectRequested(const QString& endpoint);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void openMenu(QPoint place);

  QString disconnectText_;
  QString endpoint_;
};

}  // namespace quorin::app
