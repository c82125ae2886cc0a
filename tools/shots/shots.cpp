// quorin-shots FOLDER: saves a picture of every screen of the window, in both of its usual sizes
// and both languages, and of the server panel. Run it with QT_QPA_PLATFORM=offscreen;
// QT_SCALE_FACTOR as wanted.

#include "modes/cable_status.h"
#include "panel_shots.h"
#include "ui/appearance.h"
#include "ui/qr_picture.h"
#include "window/alert.h"
#include "window/main_window.h"
#include "window/pages.h"
#include "window/screens.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <vector>

namespace quorin::app {
namespace {

constexpr QSize kSizes[] = {MainWindow::kInitialSize, MainWindow::kMinimumSize};

/// The window with its views, as the program builds it, and hands that move it.
struct Stage {
  explicit Stage(const QString& language)
      : table({language}), texts(table, {language}), views(window.content(), texts, images) {
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
    showGuard({.guard = true, .textKey = key, .output = output, .input = input});
  }
  void showGuard(const GuardState& state) {
    show([](ScreenState&) {});
    pages.apply(state);
    QApplication::processEvents();
  }

  void showWifi(const WiFiState& state) {
    auto page = describe(state, texts);
    page.codeText = QStringLiteral("192.168.178.124:9000");
    page.code = generateQRCodeFromString(page.codeText, 300);
    show([](ScreenState& screen) { screen.page = Page::kWifi; });
    pages.showWiFiPage(page);
    QApplication::processEvents();
  }

  CompiledTable table;
  Texts texts;
  Images images;
  MainWindow window;
  Views views;
  Screens screens{views};
  Pages pages{{texts, images, views, screens}};
};

/// Phones that listen, and networks that the computer is in.
WiFiState streaming(std::size_t phones, std::size_t networks = 1) {
  WiFiState state;
  state.isRunning = true;
  state.address = "192.168.178.124";
  state.candidates.assign({{"wlan0", "192.168.178.124"}, {"enp3s0", "10.0.0.5"}});
  state.candidates.resize(networks);
  state.clients.resize(phones);
  return state;
}

WiFiState fullHouse() {
  auto state = streaming(10);
  state.hasRefused = true;
  return state;
}

WiFiState lost(WiFiState::Network network) {
  WiFiState state;
  state.network = network;
  return state;
}

WiFiState busyPort(int error, std::uint16_t port, const network::PortHolder& holder = {}) {
  WiFiState state;
  state.problem = {.failure = {wifi::StartFailure::Step::kBind, error, port},
                   .holder = holder,
                   .otherPort = 9001};
  return state;
}

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
      {"guard-no-server",
       [](Stage& stage) {
         stage.showGuard({.guard = true,
                          .textKey = "audio.guard.text.both",
                          .output = kNone,
                          .input = kNone,
                          .hasServer = false,
                          .setUpFailureKey = "audio.guard.setup.no_server"});
       }},
      {"guard-working",
       [](Stage& stage) {
         stage.showGuard({.guard = true,
                          .textKey = "audio.guard.text.both",
                          .output = kWrong,
                          .input = kWrong,
                          .settingUp = true});
       }},
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
         stage.pages.showSound({.silent = true, .elsewhere = {.muted = true}, .lent = true});
         QApplication::processEvents();
       }},
      {"wifi-0", [](Stage& stage) { stage.showWifi(streaming(0)); }},
      {"wifi-1", [](Stage& stage) { stage.showWifi(streaming(1)); }},
      {"wifi-3-two-networks", [](Stage& stage) { stage.showWifi(streaming(3, 2)); }},
      {"wifi-copied",
       [](Stage& stage) {
         stage.showWifi(streaming(1));
         stage.views.onlineAddressView_->copy();
       }},
      {"wifi-10", [](Stage& stage) { stage.showWifi(streaming(10)); }},
      {"wifi-full", [](Stage& stage) { stage.showWifi(fullHouse()); }},
      {"wifi-silent",
       [](Stage& stage) {
         stage.showWifi(streaming(1));
         stage.pages.showSound({.silent = true,
                                .elsewhere = {.program = "Firefox", .device = "Built-in Audio"},
                                .lent = true,
                                .playsHere = true});
         QApplication::processEvents();
       }},
      {"wifi-port-in-use",
       [](Stage& stage) {
         stage.showWifi(busyPort(EADDRINUSE, 9000, {.program = "quorin-stream", .user = "maria"}));
       }},
      {"wifi-port-reserved", [](Stage& stage) { stage.showWifi(busyPort(EACCES, 80)); }},
      {"network-none", [](Stage& stage) { stage.showWifi(lost(WiFiState::Network::kLost)); }},
      {"network-changed", [](Stage& stage) { stage.showWifi(lost(WiFiState::Network::kChanged)); }},
      {"alert-stop",
       [](Stage& stage) {
         stage.showWifi(streaming(3));
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
