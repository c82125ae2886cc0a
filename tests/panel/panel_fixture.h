#pragma once

#include "audio/fake_engine.h"
#include "core/simulated_scheduler.h"
#include "panel/udp_audio_server.h"
#include "wifi/wifi_fixture.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorin::panel {

using wifi::Phone;

/// A slow machine: time passes with each reading of the clock.
class SlowScheduler : public dispatch::SimulatedScheduler {
 public:
  dispatch::TimePoint now() const override {
    return SimulatedScheduler::now() + (lost_ += perReading);
  }

  dispatch::Duration perReading{};

 private:
  mutable dispatch::Duration lost_{};
};

/// A panel server in simulated time, with real sockets and a fake input device.
class PanelServerTest : public ::testing::Test {
 protected:
  UDPAudioServer::Parts parts() {
    return {.makeEngine =
                [this] {
                  auto engine = std::make_unique<test::FakeEngine>();
                  engine->format = {.sampleRate = wire::kSampleRate, .channels = 1};
                  engine_ = engine.get();
                  return engine;
                },
            .getLocalIPAddress = [] { return "192.168.1.20"; },
            .print = [this](std::string_view line) { console_.emplace_back(line); },
            .port = port_};
  }

  void start() {
    server_->start();
    scheduler_.runPending();
  }
  void stop() {
    server_->stop();
    scheduler_.runPending();
  }
  /// One of many: each `number` is another address of the loopback network.
  test::UdpPeer client(unsigned number) const {
    return test::UdpPeer(wire::Endpoint{.address = 0x7F09'0000 + number, .port = port_});
  }
  void says(Phone& phone, std::string_view text) {
    phone.says(text);
    scheduler_.runPending();
  }
  void deliver(int chunks = 1) const {
    for (int i = 0; i < chunks; ++i)
      engine_->deliver({.samples = chunk_, .format = engine_->format});
  }
  const UDPAudioServer::Published& shown() const { return server_->published(); }
  std::vector<std::string> printed() { return std::exchange(console_, {}); }

  const std::uint16_t port_ = wifi::freePort();
  SlowScheduler scheduler_;
  std::vector<std::string> console_;
  test::FakeEngine* engine_ = nullptr;
  wire::AudioChunk chunk_{};
  std::unique_ptr<UDPAudioServer> server_ = std::make_unique<UDPAudioServer>(scheduler_, parts());
};

}  // namespace quorin::panel
