#pragma once

#include "core/simulated_scheduler.h"
#include "panel/udp_audio_server.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorin::panel {

/// A network in the test's hand: what clients say goes in, what the server sends is kept.
class FakeSocket final : public DatagramSocket {
 public:
  explicit FakeSocket(std::optional<SocketError> startFailure)
      : startFailure_(std::move(startFailure)) {}

  void setOnMessageReceived(MessageHandler handler) override { receive = std::move(handler); }
  std::expected<void, SocketError> start() override {
    if (startFailure_) return std::unexpected(*startFailure_);
    open = true;
    return {};
  }
  void send(std::span<const std::byte> bytes, const wire::Endpoint& address) override {
    if (duringSend) duringSend();
    if (!open) return;
    auto& client = sent[address.port];
    if (bytes.size() == wire::kChunkBytes) {
      ++client.chunks;
    } else {
      client.replies.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
  }
  void close() override { open = false; }

  struct Sent {
    std::vector<std::string> replies;
    int chunks = 0;
  };
  MessageHandler receive;
  bool open = false;
  std::map<int, Sent> sent;  ///< by the client's port
  std::function<void()> duringSend;

 private:
  std::optional<SocketError> startFailure_;
};

/// An input device in the test's hand.
class FakeCapture final : public AudioCapture {
 public:
  void setOnAudioData(ChunkHandler handler) override { deliver = std::move(handler); }
  void startCapture() override { capturing = true; }
  void stopCapture() override { capturing = false; }

  ChunkHandler deliver;
  bool capturing = false;
};

/// A panel server in simulated time, with all it prints, makes and shows.
class PanelServerTest : public ::testing::Test {
 protected:
  std::unique_ptr<UDPAudioServer> makeServer() {
    return std::make_unique<UDPAudioServer>(
        scheduler_,
        UDPAudioServer::Parts{
            .makeCapture =
                [this] {
                  auto capture = std::make_unique<FakeCapture>();
                  capture_ = capture.get();
                  return capture;
                },
            .makeSocket =
                [this](auto&&...) { return socket_ = std::make_shared<FakeSocket>(startFailure_); },
            .getLocalIPAddress = [] { return "192.168.1.20"; },
            .print = [this](std::string_view line) { console_.emplace_back(line); },
        });
  }

  void start() {
    server_->start();
    scheduler_.runPending();
    console_.clear();
  }
  void stop() {
    server_->stop();
    scheduler_.runPending();
  }
  static std::string keyOf(int port) { return "10.0.0.1:" + std::to_string(port); }
  void clientSays(int port, const std::string& text) {
    socket_->receive(text, keyOf(port));
    scheduler_.runPending();
  }
  void deliver(int chunks = 1) {
    const auto handler = capture_->deliver;  // lives through a stop during a chunk
    for (int i = 0; i < chunks; ++i) handler(wire::AudioChunk{});
  }
  const UDPAudioServer::Published& shown() const { return server_->published(); }
  std::vector<std::string> printed() { return std::exchange(console_, {}); }

  dispatch::SimulatedScheduler scheduler_;
  std::optional<SocketError> startFailure_;
  std::vector<std::string> console_;
  std::shared_ptr<FakeSocket> socket_;
  FakeCapture* capture_ = nullptr;
  std::unique_ptr<UDPAudioServer> server_ = makeServer();
};

}  // namespace quorin::panel
