#include "window/guard_screen.h"

#include "ui/appearance.h"

namespace quorin::app {
namespace {

void showStatus(NonInteractiveLabel& label, const QString& prefix, const DeviceStatus& status) {
  label.setText(QStringLiteral("%1: %2").arg(prefix, QString::fromStdString(status.name)));
  label.setTextColor(status.right ? colors::kGreen : colors::kOrange);
}

}  // namespace

void showGuardTexts(const GuardState& state, const Texts& texts, const Views& views) {
  views.audioGuardTitleLabel_->setText(texts.tr("audio.guard.title"));
  if (!state.hasServer) {
    views.audioGuardTextLabel_->setText(texts.tr("audio.guard.text.no_server"));
  } else if (const auto key = TrKey::find(state.textKey)) {
    views.audioGuardTextLabel_->setText(texts.tr(*key));
  }
  views.audioGuardSetUpButton_->setEnabled(!state.settingUp);
  views.audioGuardSetUpButton_->setText(state.settingUp ? texts.tr("audio.guard.setup.working")
                                                        : texts.tr("audio.guard.setup"));
  const auto failure = TrKey::find(state.setUpFailureKey);
  views.audioGuardSetUpNoteLabel_->setText(failure ? texts.tr(*failure)
                                                   : texts.tr("audio.guard.setup.note"));
  views.audioGuardSetUpNoteLabel_->setTextColor(failure ? colors::kOrange : colors::kLightGrey);
  showStatus(*views.audioGuardStatusOutLabel_,
             state.output.right ? texts.tr("audio.guard.status.out.ok")
                                : texts.tr("audio.guard.status.out.missing"),
             state.output);
  showStatus(*views.audioGuardStatusInLabel_,
             state.input.right ? texts.tr("audio.guard.status.in.ok")
                               : texts.tr("audio.guard.status.in.missing"),
             state.input);
}

}  // namespace quorin::app
