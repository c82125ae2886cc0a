#include "window/alert.h"

#include "core/identity.h"
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

constexpr int kTextWidth = 380;
constexpr int kMargin = 24;
constexpr int kIconSide = 64;

QLabel* makeText(const QString& text, const QFont& font, const QColor& color, QWidget* parent) {
  auto* const label = new QLabel(text, parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setFixedWidth(kTextWidth);
  label->setFont(font);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, color);
  label->setPalette(palette);
  return label;
}

}  // namespace

Alert::Alert(const AlertContent& content, QWidget* window) : QDialog(window, Qt::Sheet) {
  setAttribute(Qt::WA_DeleteOnClose);
  // A screen reader says the window's title, then the texts in it: each once.
  setWindowTitle(QString::fromLatin1(kProgramName));
  // The window's own shortcut does not reach a modal dialog.
  auto* const quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
  connect(quit, &QShortcut::activated, this, [this, window] {
    reject();
    if (auto* const main = qobject_cast<MainWindow*>(window)) emit main->quitRequested();
  });

  auto* const layout = new QGridLayout(this);
  layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  layout->setHorizontalSpacing(20);
  layout->setVerticalSpacing(12);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  if (content.icon) {
    auto* const icon = new ImageView(content.icon, this);
    icon->setFixedSize(kIconSide, kIconSide);
    layout->addWidget(icon, 0, 0, 2, 1, Qt::AlignTop);
  }
  layout->addWidget(makeText(content.title, systemFont(18, QFont::Bold), colors::kWhite, this), 0,
                    1);
  layout->addWidget(makeText(content.text, systemFont(14), QColor(205, 205, 208), this), 1, 1);

  auto* const row = new QHBoxLayout;
  row->setContentsMargins(0, 10, 0, 0);
  row->setSpacing(12);
  row->addStretch();
  for (int i = 0; i < content.buttons.size(); ++i) {
    const bool isLast = i == content.buttons.size() - 1;
    const ButtonLook& look = content.isWarning && isLast ? looks::kDestructive : looks::kPlain;
    auto* const button =
        new PushButton(content.buttons[i], systemFont(14, QFont::DemiBold), look, this);
    button->setObjectName(QStringLiteral("button%1").arg(i));
    button->setMinimumSize(100, 36);
    connect(button, &QAbstractButton::clicked, this, [this, i] { done(i); });
    if (i == 0) button->setFocus(Qt::TabFocusReason);
    row->addWidget(button);
  }
  layout->addLayout(row, 2, 1);
}

void Alert::beginSheet(std::function<void(int)> chosen) {
  // Escape and the window's close button reject the dialog: result 0, the first button.
  connect(this, &QDialog::finished, this, std::move(chosen));
  show(Qt::WindowModal);
}

void Alert::runModal() {
  show(Qt::ApplicationModal);
}

void Alert::show(Qt::WindowModality modality) {
  setWindowModality(modality);
  QDialog::show();
}

Alert* askToStop(const Texts& texts, QWidget* window, std::function<void()> stop) {
  auto* const alert =
      new Alert({.title = texts.tr("alert.stop.title"),
                 .text = texts.tr("alert.stop.info"),
                 .icon = nullptr,
                 .buttons = {texts.tr("common.cancel"), texts.tr("alert.stop.confirm")},
                 .isWarning = true},
                window);
  alert->beginSheet([stop = std::move(stop)](int button) {
    if (button == 1) stop();
  });
  return alert;
}

void showSettingsHelp(const Texts& texts, desktop::SettingsPage page, QWidget* window) {
  const bool sound = page != desktop::SettingsPage::kMicrophonePrivacy;
  auto* const alert = new Alert(
      {.title = texts.tr("alert.settings.title"),
       .text = sound ? texts.tr("alert.settings.sound") : texts.tr("alert.settings.microphone"),
       .icon = nullptr,
       .buttons = {texts.tr("common.ok")}},
      window);
  alert->runModal();
}

void showPrivacyTerms(const Texts& texts, const Images& images, QWidget* window) {
  auto* const alert = new Alert({.title = texts.tr("alert.privacy.title"),
                                 .text = texts.tr("alert.privacy.info"),
                                 .icon = images.imageForView(QStringLiteral("Logo")),
                                 .buttons = {texts.tr("common.ok")}},
                                window);
  alert->runModal();
}

}  // namespace quorin::app
