#include "panel/udp_audio_server.h"

#include <array>
#include <cstdio>
#include <utility>

namespace quorin::panel {

UDPAudioServer::UDPAudioServer(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler), parts_(std::move(parts)) {
  published_.port = parts_.port;
  published_.localIP = parts_.getLocalIPAddress().value_or("127.0.0.1");
}

void UDPAudioServer::start() {
  if (published_.isRunning || udpSocket_) return;
  printBanner();

  auto socket = std::make_unique<UDPSocket>(
      scheduler_, published_.port, parts_.print,
      [this](std::string_view text, const wire::Endpoint& client) { handleMessage(text, client); });
  if (const auto started = socket->start(); !started) return startFailed(started.error());
  parts_.print("✅ Socket UDP creado exitosamente");
  udpSocket_ = std::move(socket);
  clientManager_ = std::make_unique<ClientManager>(
      scheduler_, parts_.print,
      [this](const ClientList& clients) { handleClientCountChange(clients); });
  startAudioCapture();
  startStatsTimer();
  scheduler_.mainQueue().async(scope_, [this] {
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
  if (audioCaptureManager_) audioCaptureManager_->stopCapture();
  audioCaptureManager_.reset();
  statsTimer_.reset();
  clientManager_.reset();
  udpSocket_.reset();
  scheduler_.mainQueue().async(scope_, [this] {
    publish([](Published& values) {
      values = {.localIP = std::move(values.localIP), .port = values.port};
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
  audioCaptureManager_ = std::make_unique<audio::AudioCaptureManager>(
      scheduler_,
      audio::AudioCaptureManager::Parts{.makeEngine = parts_.makeEngine, .print = parts_.print});
  audioCaptureManager_->setOnAudioData(
      [this](wire::AudioChunkView chunk) { broadcastAudio(chunk); });
  audioCaptureManager_->startCapture();
}

/// The chunk goes unchanged to all clients, on the capture thread; without clients it is dropped
/// and not counted.
void UDPAudioServer::broadcastAudio(wire::AudioChunkView chunk) {
  const auto clients = clientManager_->getClients();
  if (clients->empty()) return;
  const auto deadline = scheduler_.now() + kMaxBroadcast;
  for (std::size_t sent = 0; sent < clients->size() && scheduler_.now() <= deadline; ++sent) {
    udpSocket_->send(std::as_bytes(chunk), (*clients)[nextClient_++ % clients->size()]);
  }
  packetsSent_.fetch_add(1, std::memory_order_relaxed);
}

void UDPAudioServer::startStatsTimer() {
  if (!statsQueue_) statsQueue_ = scheduler_.makeSerialQueue("com.audioserver.stats");
  statsQueue_->async([this, now = scheduler_.now()] { lastStatsTime_ = now; });
  statsTimer_ = statsQueue_->makeTimer(
      {.first = kStatisticsInterval, .interval = kStatisticsInterval}, [this] { updateStats(); });
}

void UDPAudioServer::updateStats() {
  const auto now = scheduler_.now();
  const double elapsed = std::chrono::duration<double>(now - lastStatsTime_).count();
  if (elapsed <= 0) return;
  lastStatsTime_ = now;
  const auto packets = packetsSent_.exchange(0, std::memory_order_relaxed);
  const std::uint64_t bytesSent = packets * wire::kChunkBytes;
  scheduler_.mainQueue().async(scope_,
                               [this, packetsPerSecond = static_cast<double>(packets) / elapsed,
                                kbps = static_cast<double>(bytesSent * 8) / elapsed / 1024] {
                                 if (clientManager_) showRates(packetsPerSecond, kbps);
                               });
}

void UDPAudioServer::showRates(double packetsPerSecond, double kbps) {
  std::array<char, 128> line{};
  std::snprintf(line.data(), line.size(), "📊 %.1f pkt/s | %.1f Kbps | Clientes: %zu",
                packetsPerSecond, kbps, clientManager_->clientCount());
  parts_.print(line.data());
  publish([=](Published& values) {
    values.packetsPerSecond = packetsPerSecond;
    values.kbps = kbps;
  });
}

// By substring, in this order: a text with both STOP and PING is a STOP.
void UDPAudioServer::handleMessage(std::string_view text, const wire::Endpoint& client) {
  if (text.contains(wire::kHello)) {
    clientManager_->addClient(client);
    udpSocket_->send(wire::kReady, client);
    const auto total = clientManager_->clientCount();
    parts_.print("✅ Nuevo cliente: " + client.text() + " (Total: " + std::to_string(total) + ")");
    if (total == 1) parts_.print("🗑️ Cliente conectado - QR oculto");
    return;
  }
  clientManager_->updateClient(client);
  if (text.contains(wire::kStop)) {
    clientManager_->removeClient(client);
    parts_.print("👋 Cliente desconectado: " + client.text());
  } else if (text.contains(wire::kPing)) {
    udpSocket_->send(wire::kPong, client);
    parts_.print("🏓 PING recibido de " + client.text());
  }
}

void UDPAudioServer::handleClientCountChange(const ClientList& clients) {
  publish([&](Published& values) { values.connectedClients = clients; });
  if (clients.empty()) {
    parts_.print("\n📱 Esperando conexión de clientes...");
    parts_.print("Escanea el código QR desde la app iOS");
  }
}

}  // namespace quorin::panel
