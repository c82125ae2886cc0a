#include "panel/udp_audio_server.h"

#include "panel/audio_broadcast.h"

#include <utility>

namespace quorin::panel {

UDPAudioServer::UDPAudioServer(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler), parts_(std::move(parts)) {
  published_.port = parts_.port;
  published_.localIP = parts_.getLocalIPAddress().value_or("127.0.0.1");
}

void UDPAudioServer::start() {
  if (published_.isRunning) return;
  printBanner();
  releaseAll();  // after a failed start, or one whose `isRunning` is still pending

  clientManager_ = std::make_unique<ClientManager>(scheduler_, parts_.print);
  clientManager_->setOnClientCountChanged(
      run_.bind([this](int count, const std::vector<std::string>& keys) {
        handleClientCountChange(count, keys);
      }));
  udpSocket_ = parts_.makeSocket(scheduler_, published_.port);
  udpSocket_->setOnMessageReceived(run_.bind(
      [this](const std::string& text, const std::string& key) { handleMessage(text, key); }));
  const auto started = udpSocket_->start();
  if (!started) return startFailed(started.error());
  parts_.print("✅ Socket UDP creado exitosamente");
  startAudioCapture();
  startStatsTimer();
  scheduler_.mainQueue().async(run_, [this] {
    publish([](Published& values) {
      values.isRunning = true;
      values.startFailure.clear();
    });
  });
}

void UDPAudioServer::startFailed(const SocketError& error) {
  parts_.print("❌ Error iniciando servidor: " + error.text());
  const auto port = std::to_string(published_.port);
  publish([&](Published& values) {
    values.startFailure =
        error.reason == std::errc::address_in_use
            ? "El puerto " + port +
                  " está ocupado. Cierra el otro programa que lo usa (quizá "
                  "Quorin Stream) y vuelve a intentarlo."
            : error.description + " (puerto " + port + "): " + error.reason.message();
  });
}

void UDPAudioServer::stop() {
  parts_.print("\n👋 Cerrando servidor...");
  releaseAll();
  scheduler_.mainQueue().async(scope_, [this] {
    publish([](Published& values) {
      Published idle;
      idle.localIP = std::move(values.localIP);
      idle.port = values.port;
      values = std::move(idle);
    });
  });
  parts_.print("🛑 Servidor detenido");
}

void UDPAudioServer::printBanner() const {
  const std::string rule(60, '-');
  parts_.print("\n" + std::string(60, '='));
  parts_.print("🎵 SERVIDOR UDP PCM CON QR INTEGRADO");
  parts_.print(rule);
  parts_.print("🔌 Escuchando en 0.0.0.0:" + std::to_string(published_.port));
  parts_.print("🌐 IP Local detectada: " + published_.localIP);
  parts_.print("🎯 Target: ~50 paquetes/segundo");
  parts_.print(rule);
}

void UDPAudioServer::startAudioCapture() {
  audioCaptureManager_ = parts_.makeCapture();
  audioCaptureManager_->setOnAudioData(
      [broadcast = std::make_shared<AudioBroadcast>(scheduler_, udpSocket_,
                                                    clientManager_->recipients(), statistics_)](
          wire::AudioChunkView chunk) { broadcast->broadcastAudio(chunk); });
  audioCaptureManager_->startCapture();
}

void UDPAudioServer::startStatsTimer() {
  if (!statsQueue_) statsQueue_ = scheduler_.makeSerialQueue("com.audioserver.stats");
  statsQueue_->async(
      [statistics = statistics_, now = scheduler_.now()] { statistics->beginPeriod(now); });
  auto showRates = [this](const Rates& rates) {
    publish([&](Published& values) { values.rates = rates; });
  };
  auto updateStats = [&scheduler = scheduler_, print = parts_.print, statistics = statistics_,
                      clients = clientManager_->recipients(), showRates = run_.bind(showRates)] {
    const auto rates = statistics->endPeriod(scheduler.now());
    if (!rates) return;
    print(statisticsLine(*rates, clients->load()->size()));
    scheduler.mainQueue().async([showRates, rates = *rates]() mutable { showRates(rates); });
  };
  statsTimer_ = statsQueue_->makeTimer(
      {.first = kStatisticsInterval, .interval = kStatisticsInterval}, std::move(updateStats));
}

void UDPAudioServer::releaseAll() {
  run_.cancelAll();
  if (udpSocket_) udpSocket_->close();
  if (audioCaptureManager_) audioCaptureManager_->stopCapture();
  statsTimer_.reset();
  clientManager_.reset();
  udpSocket_.reset();
  audioCaptureManager_.reset();
}

// By substring, in this order: a text with both STOP and PING is a STOP.
void UDPAudioServer::handleMessage(const std::string& text, const std::string& key) {
  if (text.contains(wire::kHello)) return handleHello(key);

  clientManager_->updateClient(key);
  if (text.contains(wire::kStop)) {
    clientManager_->removeClient(key);
    parts_.print("👋 Cliente desconectado: " + key);
  } else if (text.contains(wire::kPing)) {
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
  publish([&](Published& values) {
    values.clientCount = count;
    values.connectedClients = keys;
  });
  if (count == 0) {
    parts_.print("\n📱 Esperando conexión de clientes...");
    parts_.print("Escanea el código QR desde la app iOS");
  }
}

}  // namespace quorin::panel
