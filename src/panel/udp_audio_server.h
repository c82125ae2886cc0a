#pragma once

#include "panel/audio_capture.h"
#include "panel/client_manager.h"
#include "panel/datagram_socket.h"
#include "panel/network_utils.h"
#include "panel/observable.h"
#include "panel/statistics.h"
#include "panel/udp_socket.h"
#include "core/scheduler.h"
#include "core/log.h"
#include "wire/control_message.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::panel {

enum class Message { kHello, kStop, kPing, kOther };

/// By substring, in this order: a text with both STOP and PING is a STOP.
Message recognise(std::string_view text);

/// A UDP audio server of its own, with its own socket, clients and capture: every captured chunk
/// goes at once to everybody who sent any text within the last 10 s. Main queue only; shows its
/// state in published values.
class UDPAudioServer : public ObservableObject {
 public:
  static constexpr std::chrono::seconds kStatisticsInterval{5};

  /// What the server is made of; all but the capture has its real default.
  struct Parts {
    CaptureFactory makeCapture;
    SocketFactory makeSocket = makeUDPSocket;
    std::function<std::optional<std::string>()> getLocalIPAddress = NetworkUtils::getLocalIPAddress;
    log::PrintLine print = log::print;
    std::uint16_t port = wire::kDefaultPort;
  };

  /// Looks the local address up, once and for all; binds and starts nothing. `scheduler` must
  /// outlive the server.
  UDPAudioServer(dispatch::Scheduler& scheduler, Parts parts);
  ~UDPAudioServer();

  /// Does nothing while running. A failure is one console line and changes no published value; the
  /// next `start` tries again. `isRunning` follows on the next turn of the main queue.
  void start();

  /// At any time. The published values follow on the next turn of the main queue; from now on none
  /// of what was under way changes them.
  void stop();

  bool isRunning() const { return isRunning_.get(); }
  const std::string& localIP() const { return localIP_.get(); }  ///< "127.0.0.1": none found
  std::uint16_t port() const { return port_.get(); }
  int clientCount() const { return clientCount_.get(); }
  double packetsPerSecond() const { return packetsPerSecond_.get(); }
  double kbps() const { return kbps_.get(); }
  const std::vector<std::string>& connectedClients() const { return connectedClients_.get(); }

 private:
  /// From a `start` to the next `stop` or `start`. What is handed to others holds it weakly, and
  /// so does nothing once the run has ended or the server has gone.
  struct Run {};

  void printBanner() const;
  void startAudioCapture();
  void startStatsTimer();
  void releaseAll();
  void handleMessage(const std::string& text, const std::string& key);
  void handleHello(const std::string& key);
  void handleClientCountChange(int count, const std::vector<std::string>& keys);

  /// `call`, for as long as this run lasts. To be run on the main queue.
  template <typename Call>
  auto duringThisRun(Call call) const {
    return [run = std::weak_ptr(run_), call = std::move(call)](const auto&... arguments) {
      if (run.lock()) call(arguments...);
    };
  }

  dispatch::Scheduler& scheduler_;
  Parts parts_;

  Published<bool> isRunning_{*this, false};
  Published<std::string> localIP_{*this, "0.0.0.0"};
  Published<std::uint16_t> port_;
  Published<int> clientCount_{*this, 0};
  Published<double> packetsPerSecond_{*this, 0};
  Published<double> kbps_{*this, 0};
  Published<std::vector<std::string>> connectedClients_{*this, {}};

  std::shared_ptr<Statistics> statistics_;
  std::unique_ptr<dispatch::SerialQueue> statsQueue_;
  dispatch::Scope scope_;

  std::shared_ptr<Run> run_;
  std::unique_ptr<ClientManager> clientManager_;
  std::shared_ptr<DatagramSocket> udpSocket_;
  std::unique_ptr<dispatch::Timer> statsTimer_;
  std::unique_ptr<AudioCapture> audioCaptureManager_;
};

}  // namespace quorin::panel
