#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "panel/audio_broadcast.h"
#include "panel/audio_capture.h"
#include "panel/client_manager.h"
#include "panel/network_utils.h"
#include "panel/statistics.h"
#include "panel/udp_socket.h"
#include "wire/control_message.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::panel {

/// A UDP audio server of its own, with its own socket, clients and capture: each captured chunk is
/// sent at once to every client that sent any text within the last 10 s. Main queue only.
class UDPAudioServer {
 public:
  static constexpr std::chrono::seconds kStatisticsInterval{5};

  /// What the server is made of; all but the capture has its real default.
  struct Parts {
    CaptureFactory makeCapture;
    std::function<std::shared_ptr<DatagramSocket>(dispatch::Scheduler&, std::uint16_t port)>
        makeSocket = makeUDPSocket;
    std::function<std::optional<std::string>()> getLocalIPAddress = NetworkUtils::getLocalIPAddress;
    log::PrintLine print = log::print;
    std::uint16_t port = wire::kDefaultPort;
  };

  /// The state for display.
  struct Published {
    bool isRunning = false;
    std::string localIP = "0.0.0.0";  ///< "127.0.0.1": none found
    std::uint16_t port = 0;
    int clientCount = 0;
    Rates rates;
    std::vector<std::string> connectedClients;
    std::string startFailure;  ///< why it did not start, for the user; else empty
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

  /// May be called at any time. The published values follow on the next turn of the main queue;
  /// work in progress no longer changes them.
  void stop();

 private:
  void printBanner() const;
  void startAudioCapture();
  void startStatsTimer();
  void releaseAll();
  void handleMessage(const std::string& text, const std::string& key);
  void handleHello(const std::string& key);
  void handleClientCountChange(int count, const std::vector<std::string>& keys);
  void startFailed(const SocketError& error);

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

  std::shared_ptr<Statistics> statistics_ = std::make_shared<Statistics>();
  std::unique_ptr<dispatch::SerialQueue> statsQueue_;  ///< from the first start on
  dispatch::Scope scope_;

  // From a `start` to the next `stop` or `start`; what was handed to others is bound to `run_` and
  // does nothing afterwards.
  dispatch::Scope run_;
  std::unique_ptr<ClientManager> clientManager_;
  std::shared_ptr<DatagramSocket> udpSocket_;
  std::unique_ptr<dispatch::Timer> statsTimer_;
  std::unique_ptr<AudioCapture> audioCaptureManager_;
};

}  // namespace quorin::panel
