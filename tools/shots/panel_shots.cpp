#include "panel_shots.h"

#include "core/simulated_scheduler.h"
#include "panel/content_view.h"
#include "ui/texts.h"

#include <QApplication>
#include <chrono>
#include <memory>
#include <string>
#include <utility>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;

/// The window's usual sizes, in which the panel scrolls, and one that shows all of it.
constexpr QSize kSizes[] = {{1200, 750}, {720, 680}, {720, 1240}};

/// A network on which messages come as they are told to.
class StagedSocket final : public DatagramSocket {
 public:
  void setOnMessageReceived(MessageHandler handler) override { receive = std::move(handler); }
  std::expected<void, SocketError> start() override { return {}; }
  void send(std::span<const std::byte>, const wire::Endpoint&) override {}
  void close() override {}

  MessageHandler receive;
};

class StagedCapture final : public AudioCapture {
 public:
  explicit StagedCapture(ChunkHandler& handler) : handler_(handler) {}
  void setOnAudioData(ChunkHandler handler) override { handler_ = std::move(handler); }
  void startCapture() override {}
  void stopCapture() override {}

 private:
  ChunkHandler& handler_;
};

/// The panel with a network, a device and a clock that do as they are told.
class Stage {
 public:
  explicit Stage(QSize size) {
    panel_.resize(size);
    panel_.show();
  }

  QPixmap photograph() {
    scheduler_.runPending();
    QApplication::processEvents();
    return panel_.grab();
  }

  void start() { panel_.server().start(); }

  void letPhonesListen() {
    for (const char* key : {"192.168.1.31:50211", "192.168.1.32:61874", "192.168.1.47:49730"}) {
      socket_->receive("<<HELLO>>", key);
    }
    scheduler_.runPending();
    const wire::AudioChunk chunk{};
    for (int i = 0; i < 250; ++i) deliver_(chunk);
    scheduler_.advance(5s);
  }

 private:
  UDPAudioServer::Parts parts() {
    return {.makeCapture = [this] { return std::make_unique<StagedCapture>(deliver_); },
            .makeSocket = [this](auto&&...) { return socket_; },
            .getLocalIPAddress = [] { return "192.168.1.20"; },
            .print = [](std::string_view) {}};
  }

  dispatch::SimulatedScheduler scheduler_;
  app::CompiledTable texts_{{"es"}};
  std::shared_ptr<StagedSocket> socket_ = std::make_shared<StagedSocket>();
  AudioCapture::ChunkHandler deliver_;
  ContentView panel_{std::make_unique<UDPAudioServer>(scheduler_, parts()),
                     texts_.text("pairing_instructions")};
};

}  // namespace

int takePanelPictures(const QDir& folder) {
  int taken = 0;
  for (const QSize size : kSizes) {
    Stage stage(size);
    const auto save = [&](const QString& state) {
      const auto name =
          QStringLiteral("panel-%1-%2x%3.png").arg(state).arg(size.width()).arg(size.height());
      if (stage.photograph().save(folder.filePath(name))) ++taken;
    };
    save("stopped");
    stage.start();
    save("code");
    stage.letPhonesListen();
    save("clients");
  }
  return taken;
}

}  // namespace quorin::panel
