#pragma once

#include "core/simulated_scheduler.h"
#include "stream/audio_sender.h"
#include "wifi/udp_server.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::wifi {

/// A UDP port of this machine that nobody holds at the moment.
std::uint16_t freePort();

/// A phone: a socket of its own on the loopback interface.
class Phone {
 public:
  explicit Phone(std::uint16_t serverPort);

  /// Sends one datagram and returns when the system has delivered it.
  void says(std::string_view datagram);

  /// What has been sent to this phone since the last call, oldest first.
  std::vector<std::string> hears();

  wire::Endpoint key() const { return wire::Endpoint::of(own_); }

 private:
  void awaitDelivery();

  sockaddr_in own_{};
  sockaddr_in server_;
  posix::FileDescriptor socket_;  // bound to `own_`
  unsigned markers_ = 0;
  std::vector<std::string> heard_;
};

class FakeCable : public stream::Transport {
 public:
  bool isOpen() const override { return open; }
  bool hasListener() const override { return open; }
  void send(wire::AudioChunkView samples) override { firstSamples.push_back(samples[0]); }

  std::atomic<bool> open = false;
  std::vector<float> firstSamples;
};

/// Writes every callback down as a word.
class RecordingListener : public UdpServerListener {
 public:
  void onStarted() override { events.emplace_back("started"); }
  void onStartFailed(const StartFailure& failure) override;
  void onStopped() override { events.emplace_back("stopped"); }
  void onClientsChanged() override { events.emplace_back("changed"); }

  std::vector<std::string> take() { return std::exchange(events, {}); }

  std::vector<std::string> events;
};

/// The chunk all of whose samples are `value`.
wire::AudioChunk chunkOf(float value);

/// The bytes of the audio datagram all of whose samples are `value`.
std::string datagramOf(std::int16_t value);

/// The server and the sender on simulated time, and real sockets on the loopback interface.
class WifiTest {
 public:
  WifiTest() : portText(std::to_string(port)) {}

  void start() { server.startUDP(portText); }
  Phone newPhone() const { return Phone(port); }

  /// A phone that is registered and has read its answers.
  Phone newClient();

  void phoneSays(Phone& phone, std::string_view text) {
    phone.says(text);
    scheduler.runPending();
  }

  const std::uint16_t port = freePort();
  const std::string portText;
  dispatch::SimulatedScheduler scheduler;
  FakeCable cable;
  RecordingListener listener;
  WifiTransport transport;
  std::unique_ptr<dispatch::SerialQueue> queue = stream::AudioSender::makeQueue(scheduler);
  stream::AudioSender sender{scheduler, *queue, {&transport, &cable}};
  UdpServer server{scheduler, sender, transport, listener};
};

}  // namespace quorin::wifi
