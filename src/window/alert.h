#pragma once

#include "platform/desktop/settings.h"
#include "ui/picture.h"
#include "ui/texts.h"

#include <QDialog>
#include <QString>
#include <QStringList>
#include <functional>

namespace quorin::app {

/// A question or a notice in front of the window. Destroys itself once answered; the result is the
/// index of the button. Main thread.
class Alert : public QDialog {
  Q_OBJECT
 public:
  /// `icon` may be null. The first button is the safe choice, activated by Return and Escape; the
  /// others are irreversible.
  Alert(const QString& title, const QString& text, const PicturePtr& icon,
        const QStringList& buttons, QWidget* window);
};

/// Asks whether to stop although phones listen; `stop` runs when the user confirms.
Alert* askToStop(const Texts& texts, QWidget* window, std::function<void()> stop);

/// Says where to look when no program is there to show `page` of the settings with.
void showSettingsHelp(const Texts& texts, desktop::SettingsPage page, QWidget* window);

void showPrivacyTerms(const Texts& texts, QWidget* window);

}  // namespace quorin::app
