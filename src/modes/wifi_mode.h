#pragma once

#include "core/scheduler.h"
#include "modes/cable_switch.h"
#include "modes/modes_window.h"
#include "modes/sound_path.h"

#include <functional>
#include <memory>

namespace quorin::app {

/// The Wi-Fi mode: the server, the watch on the local address, and what the page says of both.
///
/// Main queue. Posted work is dropped when the mode is left, so that a late task cannot reopen the
/// page.
class WiFiMode {
 public:
  /// Interval between attempts to start a server that does not listen.
  static constexpr std::chrono::seconds kRetryInterval{2};

  /// Finds the holder of the port that failed, and a free one. Background queue.
  using PortLookup = std::function<ServerProblem(wifi::StartFailure failure)>;
  static ServerProblem lookUpPort(wifi::StartFailure failure);

  struct Parts {
    const Texts& texts;
    SoundPath& sound;
    stream::AudioSender& sender;
    wifi::WifiTransport& transport;
    CableSwitch& cable;
    ModesWindow& window;
    wifi::NetworkWatch::Lookup lookUpNetworks = wifi::lookUpLocalNetworks;
    PortLookup lookUpPort = WiFiMode::lookUpPort;
  };

  /// The scheduler and all parts outlive the mode.
  WiFiMode(dispatch::Scheduler& scheduler, Parts parts);
  WiFiMode(const WiFiMode&) = delete;
  WiFiMode& operator=(const WiFiMode&) = delete;

  /// Sets the text of the port field; the integer at its start is the port, validated when the
  /// server starts. If the page is open, the server moves to that port.
  void setPort(const QString& port);
  const QString& port() const { return state_.port; }

  /// What the page shows.
  const WiFiPage& page() const { return shown_; }

  /// Opens the page; starts the server and the sound if there is an address.
  void enter();

  /// Stops the server and drops posted work. The caller stops the sound and the watch.
  void leave();
  void stopIPWatch() { watch_.stopIPWatch(); }

  bool isOpen() const { return open_; }
  bool isServerRunning() const { return server_.isRunning(); }
  std::size_t clientCount() const { return server_.clientCount(); }

  // What the user does on the page:
  void chooseNetwork(const QString& address);  ///< if missing, used once it appears
  void disconnectPhone(const QString& endpoint);
  void retry();
  void useOtherPort();  ///< the free one that the page offers

  /// Draws the code of the address and port fields.
  void openQRHelp();

 private:
  void onNetworksChanged();
  void onAddressChanged(wifi::AddressStatus status);

  void startUDP() { onStarted(server_.startUDP(portNumber())); }
  void restartUDP() { onStarted(server_.restartUDPForNetworkChange(portNumber())); }
  void stopUDP();
  int portNumber() const;
  void onStarted(const wifi::UdpServer::Started& started);
  void silentReenterOnlineMode();
  void stream();
  void showAddress();
  void refreshOnlineStatusMessage();

  dispatch::Scheduler& scheduler_;
  Parts parts_;

  bool open_ = false;
  WiFiState state_;
  QString codeText_;
  PicturePtr code_;
  WiFiPage shown_;
  dispatch::Scope whileOpen_;
  std::unique_ptr<dispatch::Timer> retryTimer_;

  wifi::UdpServer server_;
  wifi::NetworkWatch watch_;
};

}  // namespace quorin::app
