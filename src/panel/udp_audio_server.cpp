#include "panel/udp_audio_server.h"

#include "panel/audio_broadcast.h"

#include <utility>

namespace quorin::panel {

Message recognise(std::string_view text) {
  if (text.contains(wire::kHello)) return Message::kHello;
  if (text.contains(wire::kStop)) return Message::kStop;
  if (text.contains(wire::kPing)) return Message::kPing;
  return Message::kOther;
}

UDPAudioServer::UDPAudioServer(dispatch::Scheduler& scheduler, Parts parts)
    : ObservableObject(scheduler.mainQueue()),
      scheduler_(scheduler),
      parts_(std::move(parts)),
      port_{*this, parts_.port},
      statistics_(std::make_shared<Statistics>()),
      statsQueue_(scheduler.makeSerialQueue("com.audioserver.stats")) {
  localIP_ = parts_.getLocalIPAddress().value_or("127.0.0.1");
}

UDPAudioServer::~UDPAudioServer() = default;

void UDPAudioServer::start() {
  if (isRunning()) return;
  printBanner();
  releaseAll();  // what a failed start left, or one that is only just under way
  run_ = std::make_shared<Run>();

  clientManager_ = std::make_unique<ClientManager>(scheduler_, parts_.print);
  clientManager_->setOnClientCountChanged(
      duringThisRun([this](int count, const std::vector<std::string>& keys) {
        handleClientCountChange(count, keys);
      }));
  udpSocket_ = parts_.makeSocket(scheduler_, port());
  udpSocket_->setOnMessageReceived(duringThisRun(
      [this](const std::string& text, const std::string& key) { handleMessage(text, key); }));
  if (const auto started = udpSocket_->start(); !started) {
    parts_.print("❌ Error iniciando servidor: " + started.error().text());
    return;
  }
  parts_.print("✅ Socket UDP creado exitosamente");
  startAudioCapture();
  startStatsTimer();
  scheduler_.mainQueue().async(duringThisRun([this] { isRunning_ = true; }));
}

void UDPAudioServer::stop() {
  parts_.print("\n👋 Cerrando servidor...");
  releaseAll();
  scheduler_.mainQueue().async(scope_, [this] {
    isRunning_ = false;
    clientCount_ = 0;
    connectedClients_ = {};
    packetsPerSecond_ = 0;
    kbps_ = 0;
  });
  parts_.print("🛑 Servidor detenido");
}

void UDPAudioServer::printBanner() const {
  const std::string rule(60, '-');
  parts_.print("\n" + std::string(60, '='));
  parts_.print("🎵 SERVIDOR UDP PCM CON QR INTEGRADO");
  parts_.print(rule);
  parts_.print("🔌 Escuchando en 0.0.0.0:" + std::to_string(port()));
  parts_.print("🌐 IP Local detectada: " + localIP());
  parts_.print("🎯 Target: ~50 paquetes/segundo");
  parts_.print(rule);
}

void UDPAudioServer::startAudioCapture() {
  audioCaptureManager_ = parts_.makeCapture();
  audioCaptureManager_->setOnAudioData(
      [broadcast = AudioBroadcast{udpSocket_, clientManager_->recipients(), statistics_}](
          wire::AudioChunkView chunk) { broadcast.broadcastAudio(chunk); });
  audioCaptureManager_->startCapture();
}

void UDPAudioServer::startStatsTimer() {
  statsQueue_->async(
      [statistics = statistics_, now = scheduler_.now()] { statistics->beginPeriod(now); });
  auto showRates = duringThisRun([this](const Rates& rates) {
    packetsPerSecond_ = rates.packetsPerSecond;
    kbps_ = rates.kbps;
  });
  auto updateStats = [&scheduler = scheduler_, print = parts_.print, statistics = statistics_,
                      clients = clientManager_->recipients(), showRates = std::move(showRates)] {
    const auto rates = statistics->endPeriod(scheduler.now());
    if (!rates) return;
    print(statisticsLine(*rates, clients->load()->size()));
    scheduler.mainQueue().async([showRates, rates = *rates] { showRates(rates); });
  };
  statsTimer_ = statsQueue_->makeTimer(
      {.first = kStatisticsInterval, .interval = kStatisticsInterval}, std::move(updateStats));
}

void UDPAudioServer::releaseAll() {
  run_.reset();
  if (udpSocket_) udpSocket_->close();
  if (audioCaptureManager_) audioCaptureManager_->stopCapture();
  statsTimer_.reset();
  clientManager_.reset();
  udpSocket_.reset();
  audioCaptureManager_.reset();
}

void UDPAudioServer::handleMessage(const std::string& text, const std::string& key) {
  const auto message = recognise(text);
  if (message == Message::kHello) return handleHello(key);

  clientManager_->updateClient(key);
  if (message == Message::kStop) {
    clientManager_->removeClient(key);
    parts_.print("👋 Cliente desconectado: " + key);
  } else if (message == Message::kPing) {
    udpSocket_->send(wire::kPong, key);
    parts_.print("🏓 PING recibido de " + key);
  }
}

void UDPAudioServer::handleHello(const std::string& key) {
  clientManager_->addClient(key);
  udpSocket_->send(wire::kReady, key);
  const int total = clientManager_->clientCount();
  parts_.print("✅ Nuevo cliente: " + key + " (Total: " + std::to_string(total) + ")");
  if (total == 1) parts_.print("🗑️ Cliente conectado - QR oculto");
}

void UDPAudioServer::handleClientCountChange(int count, const std::vector<std::string>& keys) {
  clientCount_ = count;
  connectedClients_ = keys;
  if (count == 0) {
    parts_.print("\n📱 Esperando conexión de clientes...");
    parts_.print("Escanea el código QR desde la app iOS");
  }
}

}  // namespace quorin::panel
