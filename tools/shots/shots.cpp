// quorin-shots FOLDER: saves a picture of every screen of the window, in both of its usual sizes
// and both languages, and of the server panel. Run it with QT_QPA_PLATFORM=offscreen;
// QT_SCALE_FACTOR as wanted.

#include "modes/cable_status.h"
#include "window/alert.h"
#include "ui/appearance.h"
#include "window/guard_screen.h"
#include "window/main_window.h"
#include "ui/qr_picture.h"
#include "window/screens.h"
#include "panel_shots.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <cstdio>
#include <functional>
#include <vector>

namespace quorin::app {
namespace {

constexpr QSize kSizes[] = {MainWindow::kInitialSize, MainWindow::kMinimumSize};

/// The window with its views, as the program builds it, and hands that move it.
struct Stage {
  explicit Stage(const QString& language)
      : table({language}), texts(table, {language}), views(window, texts, images) {
    QObject::connect(&window, &MainWindow::resized, &window, [this] { screens.layoutUI(); });
    window.show();
  }

  void show(const std::function<void(ScreenState&)>& change) {
    screens.update([&change](ScreenState& state) {
      state = {.splash = false, .page = Page::kMenu};
      change(state);
    });
    QApplication::processEvents();
  }

  void showGuard(const char* key, const DeviceStatus& output, const DeviceStatus& input) {
    const GuardState state{.guard = true, .textKey = key, .output = output, .input = input};
    showGuardTexts(state, texts, views);
    show([](ScreenState& screen) { screen.guard = true; });
  }

  void showWifi(int clients, const QString& whatIsAmiss = {}) {
    const auto payload = QStringLiteral("192.168.178.124:9000");
    views.onlineQRImageView_->showCode(generateQRCodeFromString(payload, 300), payload);
    views.onlineInfoLabel_->setText(!whatIsAmiss.isEmpty() ? whatIsAmiss
                                    : clients == 0         ? texts.bundle("waiting_connection")
                                    : clients == 1         ? texts.tr("status.connected.one")
                                                   : texts.tr("status.connected.many", clients));
    show([clients](ScreenState& state) {
      state.page = Page::kWifi;
      state.clients = clients;
    });
  }

  void showNetworkMessage(const QString& message) {
    views.onlineTitleLabel_->setText(message);
    show([](ScreenState& state) {
      state.page = Page::kWifi;
      state.wifi = WifiContent::kMessage;
    });
  }

  CompiledTable table;
  Texts texts;
  Images images;
  MainWindow window;
  Views views;
  Screens screens{views, texts};
};

struct Shot {
  const char* name;
  std::function<void(Stage&)> show;
};

const DeviceStatus kRight{true, "Quorin Audio"};
const DeviceStatus kWrong{false, "Built-in Audio Analog Stereo"};
const DeviceStatus kNone{false, "(sin dispositivo)"};

std::vector<Shot> shots() {
  return {
      {"check", [](Stage& stage) { stage.show([](ScreenState& s) { s.checking = true; }); }},
      {"microphone-denied",
       [](Stage& stage) { stage.show([](ScreenState& s) { s.microphoneDenied = true; }); }},
      {"guard-both", [](Stage& stage) { stage.showGuard("audio.guard.text.both", kWrong, kNone); }},
      {"guard-output",
       [](Stage& stage) { stage.showGuard("audio.guard.text.out", kWrong, kRight); }},
      {"guard-input", [](Stage& stage) { stage.showGuard("audio.guard.text.in", kRight, kWrong); }},
      {"menu", [](Stage& stage) { stage.show([](ScreenState&) {}); }},
      {"menu-focus",
       [](Stage& stage) {
         stage.show([](ScreenState&) {});
         stage.window.activateWindow();
         QApplication::processEvents();
         stage.views.menuOfflineButton_->setFocus(Qt::TabFocusReason);
       }},
      {"cable-waiting",
       [](Stage& stage) { stage.show([](ScreenState& s) { s.page = Page::kCable; }); }},
      {"cable-no-service",
       [](Stage& stage) {
         const CableState state{.service = usb::UsbService::kMissing,
                                .remedy = {true, "sudo systemctl restart usbmuxd"}};
         stage.views.usbSecondary2Label_->setText(cableText(state, stage.texts));
         stage.show([](ScreenState& s) { s.page = Page::kCable; });
       }},
      {"cable-app-silent",
       [](Stage& stage) {
         stage.views.connectedLabel_->setText(stage.texts.tr("cable.app.silent"));
         stage.show([](ScreenState& s) {
           s.page = Page::kCable;
           s.channelOpen = true;
         });
       }},
      {"cable-connected",
       [](Stage& stage) {
         stage.show([](ScreenState& s) {
           s.page = Page::kCable;
           s.channelOpen = true;
         });
       }},
      {"wifi-0", [](Stage& stage) { stage.showWifi(0); }},
      {"wifi-1", [](Stage& stage) { stage.showWifi(1); }},
      {"wifi-3", [](Stage& stage) { stage.showWifi(3); }},
      {"wifi-10", [](Stage& stage) { stage.showWifi(10); }},
      {"wifi-silent", [](Stage& stage) { stage.showWifi(1, stage.texts.tr("status.silent")); }},
      {"wifi-port-taken",
       [](Stage& stage) { stage.showWifi(0, stage.texts.tr("udp.port.bind_failed")); }},
      {"network-none",
       [](Stage& stage) { stage.showNetworkMessage(stage.texts.bundle("network.unavailable")); }},
      {"network-changed",
       [](Stage& stage) {
         stage.showNetworkMessage(stage.texts.bundle("network.change_detected") +
                                  QLatin1Char('\n') +
                                  stage.texts.bundle("network.generating_qr_in_seconds", 2));
       }},
      {"alert-stop",
       [](Stage& stage) {
         stage.showWifi(3);
         askToStop(stage.texts, &stage.window, [] {});
       }},
      {"alert-settings",
       [](Stage& stage) {
         stage.show([](ScreenState& s) { s.microphoneDenied = true; });
         showSettingsHelp(stage.texts, desktop::SettingsPage::kMicrophonePrivacy, &stage.window);
       }},
      {"alert-privacy",
       [](Stage& stage) {
         stage.show([](ScreenState&) {});
         showPrivacyTerms(stage.texts, stage.images, &stage.window);
       }},
  };
}

/// The window, and in front of it the alert that is open, as a window manager would place it.
QPixmap photograph(Stage& stage) {
  QApplication::processEvents();
  QPixmap picture = stage.window.grab();
  for (Alert* alert : stage.window.findChildren<Alert*>()) {
    if (!alert->isVisible()) continue;
    QPainter painter(&picture);
    painter.fillRect(stage.window.rect(), QColor(0, 0, 0, 110));
    const QPixmap front = alert->grab();
    QRectF place(QPointF(), front.deviceIndependentSize());
    place.moveCenter(QRectF(stage.window.rect()).center());
    painter.drawPixmap(place.topLeft(), front);
    alert->reject();
  }
  return picture;
}

int takeAll(const QDir& folder) {
  int taken = 0;
  const auto save = [&](Stage& stage, const QString& name) {
    const QSize size = stage.window.size();
    const QString file = QStringLiteral("%1-%2-%3x%4.png")
                             .arg(name, stage.table.language())
                             .arg(size.width())
                             .arg(size.height());
    if (photograph(stage).save(folder.filePath(file))) ++taken;
  };
  for (const char* language : {"en", "es"}) {
    for (const QSize size : kSizes) {
      Stage stage(language);
      stage.window.resize(size);
      stage.screens.layoutUI();
      save(stage, QStringLiteral("splash"));
      for (const Shot& shot : shots()) {
        shot.show(stage);
        save(stage, QString::fromLatin1(shot.name));
      }
    }
  }
  return taken;
}

}  // namespace
}  // namespace quorin::app

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const QStringList arguments = QApplication::arguments();
  if (arguments.size() != 2) {
    std::fputs("usage: quorin-shots FOLDER\n", stderr);
    return 2;
  }
  quorin::app::applyDarkAppearance(application);
  const QDir folder(arguments[1]);
  if (!folder.mkpath(QStringLiteral("."))) {
    std::fprintf(stderr, "quorin-shots: cannot make the folder %s\n", qPrintable(arguments[1]));
    return 1;
  }
  const int taken = quorin::app::takeAll(folder) + quorin::panel::takePanelPictures(folder);
  std::printf("%d pictures in %s\n", taken, qPrintable(folder.absolutePath()));
  return taken > 0 ? 0 : 1;
}
