#pragma once

#include "ui/containers.h"
#include "ui/controls.h"
#include "ui/texts.h"

#include <QLineEdit>
#include <QTimer>
#include <vector>

namespace quorin::app {

/// A network that the computer is in.
struct NetworkChoice {
  QString name;  ///< such as "Wi-Fi (wlan0)"
  QString address;

  bool operator==(const NetworkChoice&) const = default;
};

/// "ADDRESS:PORT" to read, select and copy, and a menu of networks where there are several.
class AddressView : public ContainerView {
  Q_OBJECT
 public:
  /// `texts` outlives this.
  AddressView(const Texts& texts, QWidget* parent);

  /// The current network is the one whose address `text` begins with.
  void showAddress(const QString& text, const std::vector<NetworkChoice>& networks);

  QString text() const { return text_->text(); }

  /// Makes the fonts `scale` times as large.
  void setScale(double scale);

  /// Puts the whole text on the clipboard and says so for a while.
  void copy();

 signals:
  void networkChosen(const QString& address);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void openMenu();
  void fitTexts();

  const Texts& texts_;
  QLineEdit* text_;
  PushButton* copy_;
  PushButton* network_;
  std::vector<NetworkChoice> networks_;
  QTimer sayingCopied_;
};

}  // namespace quorin::app
