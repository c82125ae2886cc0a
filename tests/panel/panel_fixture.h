#pragma once

#include "panel/udp_audio_server.h"
#include "core/simulated_scheduler.h"

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

  void setOnMessageReceived(MessageHandler handler) override { handler_ = std::move(handler); }
  std::expected<void, SocketError> start() override {
    if (startFailure_) return std::unexpected(*startFailure_);
    open = true;
    return {};
  }
  void send(std::string_view text, std::string_view key) override {
    sent.push_back(std::string(key) + " <- " + std::string(text));
  }
  void sendToAll(std::span<const std::byte> bytes,
                 std::span<const sockaddr_in> addresses) override {
    if (duringSend) duringSend();
    if (!open) return;
    for (const auto& address : addresses) ++chunks[{ntohs(address.sin_port), bytes.size()}];
  }
  void close() override { open = false; }

  void receive(const std::string& text, const std::string& key) { handler_(text, key); }

  bool open = false;
  std::vector<std::string> sent;
  std::map<std::pair<int, std::size_t>, int> chunks;  ///< by port and datagram size
  std::function<void()> duringSend;

 private:
  std::optional<SocketError> startFailure_;
  MessageHandler handler_;
};

/// An input device in the test's hand.
class FakeCapture final : public AudioCapture {
 public:
  void setOnAudioData(ChunkHandler handler) override { handler_ = std::move(handler); }
  void startCapture() override { capturing = true; }
  void stopCapture() override { capturing = false; }

  /// Delivers a chunk as the capture thread would, which a stop or a release does not take the
  /// handler away from while it runs.
  void deliver() const { handler()(wire::AudioChunk{}); }
  ChunkHandler handler() const { return handler_; }

  bool capturing = false;

 private:
  ChunkHandler handler_;
};

/// A panel server in simulated time, with all it prints, makes and shows.
class PanelServerTest : public ::testing::Test {
 protected:
  std::unique_ptr<UDPAudioServer> makeServer() {
    return std::make_unique<UDPAudioServer>(
        scheduler_, UDPAudioServer::Parts{
                        .makeCapture =
                            [this] {
                              auto capture = std::make_unique<FakeCapture>();
                              capture_ = capture.get();
                              return capture;
                            },
                        .makeSocket =
                            [this](dispatch::Scheduler&, std::uint16_t port) {
                              ports_.push_back(port);
                              socket_ = std::make_shared<FakeSocket>(startFailure_);
                              return socket_;
                            },
                        .getLocalIPAddress = [this] { return localAddress_; },
                        .print = [this](std::string_view line) { console_.emplace_back(line); },
                    });
  }

  void start() {
    server_->start();
    scheduler_.runPending();
    console_.clear();
  }

  void clientSays(int port, const std::string& text) {
    socket_->receive(text, "10.0.0.1:" + std::to_string(port));
    scheduler_.runPending();
  }

  /// Datagrams of one chunk that the client got so far.
  int chunksAt(int port) const {
    const auto found = socket_->chunks.find({port, wire::kChunkBytes});
    return found == socket_->chunks.end() ? 0 : found->second;
  }

  std::vector<std::string> printed() { return std::exchange(console_, {}); }

  dispatch::SimulatedScheduler scheduler_;
  std::optional<SocketError> startFailure_;
  std::optional<std::string> localAddress_ = "192.168.1.20";
  std::vector<std::uint16_t> ports_;
  std::vector<std::string> console_;
  std::shared_ptr<FakeSocket> socket_;
  FakeCapture* capture_ = nullptr;
  std::unique_ptr<UDPAudioServer> server_ = makeServer();
};

}  // namespace quorin::panel
