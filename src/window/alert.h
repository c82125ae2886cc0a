#pragma once

#include "platform/desktop/settings.h"
#include "ui/images.h"
#include "ui/texts.h"

#include <QDialog>
#include <QString>
#include <QStringList>
#include <functional>

namespace quorin::app {

/// What an alert says and asks.
struct AlertContent {
  QString title;
  QString text;
  PicturePtr icon;         ///< may be none
  QStringList buttons;     ///< the first is the harmless one: Return and Escape choose it
  bool isWarning = false;  ///< the last button then shows that it cannot be undone
};

/// A question or a notice in front of the window. Destroys itself once answered. Main thread.
class Alert : public QDialog {
  Q_OBJECT
 public:
  Alert(const AlertContent& content, QWidget* window);

  /// Shows it as a sheet: only `window` waits for it. Returns at once; `chosen` runs with the
  /// button's index when the alert is answered.
  void beginSheet(std::function<void(int button)> chosen);

  /// Shows it in front of every window of the program. Returns at once.
  void runModal();

 private:
  void show(Qt::WindowModality modality);
};

/// Asks whether to stop although phones listen; `stop` runs when the user confirms. The alert is
/// deleted when it is answered.
Alert* askToStop(const Texts& texts, QWidget* window, std::function<void()> stop);

/// Says where to look when no program is there to show `page` of the settings with.
void showSettingsHelp(const Texts& texts, desktop::SettingsPage page, QWidget* window);

void showPrivacyTerms(const Texts& texts, const Images& images, QWidget* window);

}  // namespace quorin::app
