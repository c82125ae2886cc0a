#include "app/guard_screen.h"

#include "app/appearance.h"

namespace quorin::app {
namespace {

QString guardText(GuardText text, const Texts& texts) {
  switch (text) {
    case GuardText::kBoth:
      return texts.tr("audio.guard.text.both");
    case GuardText::kOutput:
      return texts.tr("audio.guard.text.out");
    case GuardText::kInput:
      return texts.tr("audio.guard.text.in");
  }
  return {};
}

void showStatus(NonInteractiveLabel& label, const QString& prefix, const DeviceStatus& status) {
  label.setText(QStringLiteral("%1: %2").arg(prefix, QString::fromStdString(status.name)));
  label.setTextColor(status.right ? colors::kGreen : colors::kOrange);
}

}  // namespace

void showGuardTexts(const GuardState& state, const Texts& texts, const Views& views) {
  const auto& [output, input] = state.status;
  views.audioGuardTitleLabel_->setText(texts.tr("audio.guard.title"));
  views.audioGuardTextLabel_->setText(guardText(state.text, texts));
  showStatus(*views.audioGuardStatusOutLabel_,
             output.right ? texts.tr("audio.guard.status.out.ok")
                          : texts.tr("audio.guard.status.out.missing"),
             output);
  showStatus(*views.audioGuardStatusInLabel_,
             input.right ? texts.tr("audio.guard.status.in.ok")
                         : texts.tr("audio.guard.status.in.missing"),
             input);
}

}  // namespace quorin::app
