#pragma once

#include "audio/audio_capture_manager.h"
#include "core/log.h"
#include "core/scheduler.h"
#include "panel/client_manager.h"
#include "panel/network_utils.h"
#include "panel/udp_socket.h"
#include "wire/control_message.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::panel {

/// A UDP audio server of its own, with its own socket, clients and capture: each captured chunk is
/// sent at once to every client that sent any text within the last 10 s. Main queue only; the
/// statistics are computed on a queue of their own.
class UDPAudioServer {
 public:
  static constexpr std::chrono::seconds kStatisticsInterval{5};
  /// Half a chunk. If sending to all clients would take longer, the capture would fall behind; each
  /// chunk then goes to only some of them, in turn.
  static constexpr std::chrono::milliseconds kMaxBroadcast{10};

  /// What the server is made of; all but the engine has its real default.
  struct Parts {
    /// Records the default input device. Called at each start.
    std::function<std::unique_ptr<audio::AudioEngine>()> makeEngine;
    std::function<std::optional<std::string>()> getLocalIPAddress = NetworkUtils::getLocalIPAddress;
    log::PrintLine print = log::print;
    std::uint16_t port = wire::kDefaultPort;
  };

  /// The state for display.
  struct Published {
    bool isRunning = false;
    std::string localIP = "0.0.0.0";  ///< "127.0.0.1": none found
    std::uint16_t port = 0;
    double packetsPerSecond = 0;  ///< chunks a second, however many clients receive each
    double kbps = 0;              ///< their payload, in units of 1024 bits a second
    ClientList connectedClients{};
    std::size_t clientCount() const { return connectedClients.size(); }
    std::string startFailure{};  ///< why it did not start, for the user; else empty
  };

  /// Looks up the local address once; binds and starts nothing. `scheduler` must outlive the
  /// server.
  UDPAudioServer(dispatch::Scheduler& scheduler, Parts parts);

  const Published& published() const { return published_; }
  /// `handler` runs on the main queue after something published has changed.
  void setOnChanged(std::function<void()> handler) { onChanged_ = std::move(handler); }

  /// Does nothing while running. A failure shows in `startFailure`; the next `start` tries again.
  /// `isRunning` follows on the next turn of the main queue.
  void start();

  /// May be called at any time. The published values follow on the next turn of the main queue.
  void stop();

 private:
  void printBanner() const;
  void startFailed(const SocketError& error);
  void startAudioCapture();
  void broadcastAudio(wire::AudioChunkView chunk);
  void startStatsTimer();
  void updateStats();  // on `statsQueue_`
  void showRates(double packetsPerSecond, double kbps);
  void handleMessage(std::string_view text, const wire::Endpoint& client);
  void handleClientCountChange(const ClientList& clients);

  /// Changes the published values and notifies.
  template <typename Change>
  void publish(Change change) {
    change(published_);
    if (onChanged_) onChanged_();
  }

  dispatch::Scheduler& scheduler_;
  Parts parts_;
  Published published_;
  std::function<void()> onChanged_;
  dispatch::Scope scope_;

  std::atomic<std::uint64_t> packetsSent_ = 0;  ///< in this period; counted on the capture thread
  dispatch::TimePoint lastStatsTime_;           ///< statistics queue only

  // From a `start` to the next `stop`. The capture thread uses the first three: it ends before they
  // do.
  std::unique_ptr<ClientManager> clientManager_;
  std::unique_ptr<UDPSocket> udpSocket_;
  std::size_t nextClient_ = 0;  ///< index into the list; capture thread only
  std::unique_ptr<audio::AudioCaptureManager> audioCaptureManager_;
  std::unique_ptr<dispatch::Timer> statsTimer_;

  std::unique_ptr<dispatch::SerialQueue> statsQueue_;  ///< from the first start on
};

}  // namespace quorin::panel
