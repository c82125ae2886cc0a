#include "window/alert.h"

#include "core/identity.h"
#include "platform/desktop/window_front.h"
#include "ui/appearance.h"
#include "ui/controls.h"
#include "window/main_window.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QShortcut>
#include <utility>

namespace quorin::app {
namespace {

QLabel* makeText(const QString& text, TextStyle style, QWidget* parent) {
  style.alignment = Qt::AlignLeft;
  style.lineBreak = LineBreak::kWrap;
  style.pixels *= textScale();
  auto* const label = new NonInteractiveLabel(text, style, parent);
  label->setFixedWidth(qRound(380 * textScale()));
  return label;
}

/// In front of every window of the program.
void notify(const Texts& texts, QWidget* window, const QString& title, const QString& text,
            const PicturePtr& icon = nullptr) {
  auto* const alert = new Alert(title, text, icon, {texts.tr("common.ok")}, window);
  alert->setWindowModality(Qt::ApplicationModal);
  alert->show();
}

}  // namespace

Alert::Alert(const QString& title, const QString& text, const PicturePtr& icon,
             const QStringList& buttons, QWidget* window)
    : QDialog(window, Qt::Sheet) {
  setAttribute(Qt::WA_DeleteOnClose);
  // A screen reader reads the window title and then its texts; a generic title avoids repetition.
  setWindowTitle(QString::fromLatin1(kProgramName));
  desktop::askForDarkTitleBar(winId());
  // The window's own shortcut does not reach a modal dialog.
  new QShortcut(Qt::CTRL | Qt::Key_Q, this, [this, window] {
    reject();
    if (auto* const main = qobject_cast<MainWindow*>(window)) emit main->quitRequested();
  });

  auto* const layout = new QGridLayout(this);
  layout->setContentsMargins(24, 24, 24, 24);
  layout->setHorizontalSpacing(20);
  layout->setVerticalSpacing(12);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  if (icon) {
    auto* const view = new NonInteractiveImageView(icon, this);
    view->setFixedSize(64, 64);
    layout->addWidget(view, 0, 0, 2, 1, Qt::AlignTop);
  }
  layout->addWidget(makeText(title, {.pixels = 18, .weight = QFont::Bold}, this), 0, 1);
  layout->addWidget(makeText(text, {.pixels = 14, .color = {205, 205, 208}}, this), 1, 1);

  auto* const row = new QHBoxLayout;
  row->setContentsMargins(0, 10, 0, 0);
  row->setSpacing(12);
  row->addStretch();
  for (int i = 0; i < buttons.size(); ++i) {
    const ButtonLook& look = i == 0 ? looks::kPlain : looks::kDestructive;
    auto* const button =
        new PushButton(buttons[i], systemFont(14 * textScale(), QFont::DemiBold), look, this);
    button->setObjectName(QStringLiteral("button%1").arg(i));
    button->setMinimumSize(QSize(100, 36) * textScale());
    connect(button, &QAbstractButton::clicked, this, [this, i] { done(i); });
    if (i == 0) button->setFocus(Qt::TabFocusReason);
    row->addWidget(button);
  }
  layout->addLayout(row, 2, 1);
}

Alert* askToStop(const Texts& texts, QWidget* window, std::function<void()> stop) {
  auto* const alert =
      new Alert(texts.tr("alert.stop.title"), texts.tr("alert.stop.info"), nullptr,
                {texts.tr("common.cancel"), texts.tr("alert.stop.confirm")}, window);
  // Escape and the window's close button reject the dialog: result 0, the first button.
  QObject::connect(alert, &QDialog::finished, alert, [stop = std::move(stop)](int button) {
    if (button == 1) stop();
  });
  alert->setWindowModality(Qt::WindowModal);
  alert->show();
  return alert;
}

void showSettingsHelp(const Texts& texts, desktop::SettingsPage page, QWidget* window) {
  const bool sound = page != desktop::SettingsPage::kMicrophonePrivacy;
  notify(texts, window, texts.tr("alert.settings.title"),
         sound ? texts.tr("alert.settings.sound") : texts.tr("alert.settings.microphone"));
}

void showPrivacyTerms(const Texts& texts, QWidget* window) {
  notify(texts, window, texts.tr("alert.privacy.title"), texts.tr("alert.privacy.info"),
         imageForView("Logo"));
}

}  // namespace quorin::app
