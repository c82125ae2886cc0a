// quorin-shots FOLDER: saves pictures of every screen of the window, in each variant and language,
// of the tray's menu and of the server panel. Run it with QT_QPA_PLATFORM=offscreen.

#include "app/background.h"
#include "core/simulated_scheduler.h"
#include "measure/stamped_socket.h"
#include "modes/cable_status.h"
#include "panel/content_view.h"
#include "ui/appearance.h"
#include "ui/qr_code.h"
#include "window/alert.h"
#include "window/help.h"
#include "window/main_window.h"
#include "window/pages.h"
#include "window/screens.h"

#include <netinet/in.h>

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <QProcess>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <vector>

namespace quorin::app {
namespace {

struct Variant {
  const char* name;
  QSize size = MainWindow::kInitialSize;
  bool highContrast = false;
  double textScale = 1;
};
constexpr Variant kVariants[] = {{"usual"},
                                 {"small", MainWindow::kMinimumSize},
                                 {"large", {2560, 1440}},
                                 {"contrast", MainWindow::kInitialSize, true},
                                 {"large-text", MainWindow::kInitialSize, false, 1.5}};

/// The window with its views, as the program builds it, and hands that move it.
struct Stage {
  explicit Stage(const QString& language) : texts({language}), views(window.content(), texts) {
    QObject::connect(&window, &MainWindow::resized, &window, [this] { screens.layoutUI(); });
    window.show();
  }

  void show(const std::function<void(ScreenState&)>& change) {
    screens.update([&change](ScreenState& state) {
      state = {.splash = false, .page = Page::kMenu};
      change(state);
    });
  }

  Texts texts;
  MainWindow window;
  Views views;
  Screens screens{views};
  Pages pages{texts, views, screens};
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

struct Shot {
  const char* name;
  std::function<void(Stage&)> show;
};

const DeviceStatus kWrong{false, "Built-in Audio Analog Stereo"};
const DeviceStatus kNone{false, "(sin dispositivo)"};

std::vector<Shot> shots() {
  using Change = void (*)(ScreenState&);
  const auto screen = [](Change change) { return [change](Stage& stage) { stage.show(change); }; };
  const auto guard = [](GuardState state) {
    state.guard = true;
    return [state](Stage& stage) {
      stage.show([](ScreenState&) {});
      stage.pages.apply(state);
    };
  };
  const auto wifi = [](const WiFiState& state, const std::function<void(Stage&)>& then = {}) {
    return [=](Stage& stage) {
      auto page = describe(state, stage.texts);
      page.codeText = QStringLiteral("192.168.178.124:9000");
      page.code = generateQRCodeFromString(page.codeText, 300);
      stage.show([](ScreenState& s) { s.page = Page::kWifi; });
      stage.pages.showWiFiPage(page);
      if (then) then(stage);
    };
  };
  const Change menu = [](ScreenState&) {};
  const Change cable = [](ScreenState& s) { s.page = Page::kCable; };
  auto full = streaming(10);
  full.hasRefused = true;
  WiFiState lost;
  lost.network = wifi::AddressStatus::kLost;
  WiFiState busyPort;
  busyPort.problem =
      ServerProblem{.failure = {wifi::StartFailure::Step::kBind, EADDRINUSE, 9000},
                    .isLookedUp = true,
                    .holder = network::PortHolder{.program = "quorin-stream", .user = "maria"},
                    .otherPort = 9001};
  return {
      {"check", screen([](ScreenState& s) { s.checking = true; })},
      {"microphone-denied", screen([](ScreenState& s) { s.microphoneDenied = true; })},
      {"guard-both", guard({.textKey = "audio.guard.text.both", .output = kWrong, .input = kNone})},
      {"guard-no-server", guard({.textKey = "audio.guard.text.both",
                                 .output = kNone,
                                 .input = kNone,
                                 .hasServer = false,
                                 .setUpFailureKey = "audio.guard.setup.no_server"})},
      {"menu", screen(menu)},
      {"cable-waiting", screen(cable)},
      {"cable-no-service",
       [=](Stage& stage) {
         const CableState state{.service = usb::UsbService::kMissing,
                                .remedy = {true, "sudo systemctl restart usbmuxd"}};
         stage.views.usbSecondary2Label_->setText(cableText(state, stage.texts));
         stage.show(cable);
       }},
      {"cable-connected",
       [=](Stage& stage) {
         stage.show([](ScreenState& s) {
           s.page = Page::kCable;
           s.channelOpen = true;
         });
         stage.pages.showSound({.silent = true, .elsewhere = {.muted = true}, .lent = true});
       }},
      {"wifi-0", wifi(streaming(0))},
      {"wifi-3-two-networks", wifi(streaming(3, 2))},
      {"wifi-full", wifi(full)},
      {"wifi-silent", wifi(streaming(1),
                           [](Stage& stage) {
                             stage.pages.showSound(
                                 {.silent = true,
                                  .elsewhere = {.program = "Firefox", .device = "Built-in Audio"},
                                  .lent = true,
                                  .playsHere = true});
                           })},
      {"wifi-port-in-use", wifi(busyPort)},
      {"network-none", wifi(lost)},
      {"alert-stop",
       wifi(streaming(3), [](Stage& stage) { askToStop(stage.texts, &stage.window, [] {}); })},
      {"alert-privacy",
       [=](Stage& stage) {
         stage.show(menu);
         showPrivacyTerms(stage.texts, &stage.window);
       }},
      {"help",
       [=](Stage& stage) {
         stage.show(menu);
         showHelp(stage.texts, "9000", &stage.window);
         stage.window.findChild<QProcess*>()->waitForFinished();
       }},
  };
}

/// The window, and in front of it the dialog that is open, as a window manager would place it.
QPixmap photograph(Stage& stage) {
  QApplication::processEvents();
  QPixmap picture = stage.window.grab();
  for (QDialog* dialog : stage.window.findChildren<QDialog*>()) {
    if (!dialog->isVisible()) continue;
    QPainter painter(&picture);
    painter.fillRect(stage.window.rect(), QColor(0, 0, 0, 110));
    const QPixmap front = dialog->grab();
    QRectF place(QPointF(), front.deviceIndependentSize());
    place.moveCenter(QRectF(stage.window.rect()).center());
    painter.drawPixmap(place.topLeft(), front);
    dialog->reject();
  }
  return picture;
}

void save(const QPixmap& picture, const QDir& folder, const QString& name) {
  picture.save(folder.filePath(name + ".png"));
}

void photographWindow(const QDir& folder) {
  for (const char* language : {"en", "es"}) {
    for (const auto& [name, size, highContrast, textScale] : kVariants) {
      Stage stage(language);
      setHighContrast(highContrast);
      stage.screens.setTextScale(textScale);
      stage.window.resize(size);
      stage.screens.layoutUI();
      auto all = shots();
      all.insert(all.begin(), {"splash", [](Stage&) {}});
      for (const Shot& shot : all) {
        shot.show(stage);
        save(photograph(stage), folder, QString("%1-%2-%3").arg(shot.name, language, name));
      }
    }
  }
}

void photographTray(const QDir& folder) {
  dispatch::SimulatedScheduler scheduler;
  const Texts texts({"en"});
  Background background(scheduler.backgroundQueue(), texts, {});
  background.update({.streaming = true, .listeners = 3, .lent = true, .playsHere = true});
  save(background.menu().grab(), folder, "tray");
}

/// The panel's device.
struct StagedEngine final : audio::AudioEngine {
  explicit StagedEngine(TapHandler& handler) : tap(handler) {}

  audio::Format inputFormat() override { return {.sampleRate = wire::kSampleRate, .channels = 1}; }
  void installTap(std::size_t, TapHandler handler) override { tap = std::move(handler); }
  void removeTap() override { tap = {}; }
  std::expected<void, audio::Error> start() override { return {}; }
  void stop() override {}

  TapHandler& tap;
};

void photographPanel(const QDir& folder) {
  dispatch::SimulatedScheduler scheduler;
  audio::AudioEngine::TapHandler tap;
  constexpr std::uint16_t kPort = 19'000;
  panel::ContentView view(
      std::make_unique<panel::UDPAudioServer>(
          scheduler, panel::UDPAudioServer::Parts{
                         .makeEngine = [&] { return std::make_unique<StagedEngine>(tap); },
                         .getLocalIPAddress = [] { return "192.168.1.20"; },
                         .print = [](std::string_view) {},
                         .port = kPort}),
      Texts({"es"}).tr("pairing_instructions"));
  view.resize(720, 1240);  // shows all of it
  view.show();
  const auto saveAs = [&](const char* name) {
    scheduler.runPending();
    QApplication::processEvents();
    save(view.grab(), folder, name);
  };
  saveAs("panel-stopped");
  view.server().start();
  saveAs("panel-code");
  for (const auto* key : {"127.0.1.31:50211", "127.0.1.32:61874", "127.0.1.47:49730"}) {
    measure::StampedSocket::connectTo({.address = INADDR_LOOPBACK, .port = kPort},
                                      wire::Endpoint::parse(key).value())
        ->send("<<HELLO>>");
  }
  scheduler.runPending();
  const wire::AudioChunk chunk{};
  for (int i = 0; i < 250; ++i) {
    tap({.samples = chunk, .format = {.sampleRate = wire::kSampleRate, .channels = 1}});
  }
  scheduler.advance(std::chrono::seconds(5));
  saveAs("panel-clients");
}

}  // namespace
}  // namespace quorin::app

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  quorin::app::applyDarkAppearance(application);
  const QDir folder(QApplication::arguments().value(1));
  quorin::app::photographTray(folder);
  quorin::app::photographPanel(folder);
  quorin::app::photographWindow(folder);
  const auto taken = static_cast<int>(folder.entryList({"*.png"}).size());
  std::printf("%d pictures in %s\n", taken, qPrintable(folder.absolutePath()));
  return taken > 0 ? 0 : 1;
}
