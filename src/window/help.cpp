#include "window/help.h"

#include "core/identity.h"
#include "platform/desktop/window_front.h"
#include "ui/appearance.h"

#include <QCoreApplication>
#include <QDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScreen>
#include <QShortcut>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace quorin::app {
namespace {

/// The findings as a list, each problem with its advice.
QString asMarkdown(const QByteArray& diagnosis) {
  QString list;
  const auto findings = QJsonDocument::fromJson(diagnosis).object()["findings"].toArray();
  for (const auto& finding : findings) {
    const auto of = [&finding](const char* key) {
      return finding[QLatin1String(key)].toString().toHtmlEscaped();
    };
    const bool isFine = finding[QLatin1String("verdict")] == QLatin1String("ok");
    list += QStringLiteral("- %1 **%2**: %3\n").arg(isFine ? "✓" : "⚠", of("name"), of("found"));
    if (!isFine) list += QStringLiteral("\n  %1\n").arg(of("advice"));
  }
  return list;
}

}  // namespace

void showHelp(const Texts& texts, const QString& port, QWidget* window) {
  const auto kName = QStringLiteral("help");
  auto* dialog = window->findChild<QDialog*>(kName, Qt::FindDirectChildrenOnly);
  if (dialog) return dialog->activateWindow();

  dialog = new QDialog(window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setObjectName(kName);
  dialog->setWindowTitle(texts.tr("help.title"));
  dialog->resize((QSize(620, 560) * textScale()).boundedTo(dialog->screen()->availableSize()));
  desktop::askForDarkTitleBar(dialog->winId());
  new QShortcut(QKeySequence::Close, dialog, dialog, &QDialog::close);
  auto* const text = new QTextBrowser(dialog);
  text->setAccessibleName(texts.tr("help.title"));
  text->document()->setDocumentMargin(16);
  text->setFont(systemFont(15 * textScale()));
  text->setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
  auto* const layout = new QVBoxLayout(dialog);
  layout->setContentsMargins({});
  layout->addWidget(text);
  const QString help = texts.tr("help.text", port) + QStringLiteral("\n\n");
  text->setMarkdown(help + texts.tr("help.looking"));
  dialog->show();

  auto* const asked = new QProcess(dialog);
  QObject::connect(asked, &QProcess::finished, text, [text, asked, help] {
    const int place = text->textCursor().position();
    text->setMarkdown(help + asMarkdown(asked->readAllStandardOutput()));
    auto cursor = text->textCursor();
    cursor.setPosition(place);
    text->setTextCursor(cursor);
  });
  asked->start(
      QStandardPaths::findExecutable(kProgramFile, {QCoreApplication::applicationDirPath()}),
      {"--diagnose", "--json", "--port", port, "--language", texts.tr("language")});
}

}  // namespace quorin::app
