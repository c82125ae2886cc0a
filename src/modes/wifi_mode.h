#pragma once

#include "modes/cable_switch.h"
#include "modes/sound_path.h"
#include "ui/texts.h"
#include "modes/wifi_page.h"
#include "core/scheduler.h"
#include "wifi/network_watch.h"
#include "wifi/udp_server.h"

#include <string>

namespace quorin::app {

/// The Wi-Fi mode: the server, the watch on the local address, and what the page says of both.
///
/// Main queue. Work that it has posted for later is dropped when the mode is left, so that a step
/// that comes late never brings the page back.
class WiFiMode : private wifi::UdpServerListener, private wifi::NetworkWatchListener {
 public:
  struct Parts {
    const Texts& texts;
    SoundPath& sound;
    stream::AudioSender& sender;
    wifi::WifiTransport& transport;
    CableSwitch& cable;
    WiFiPageView& view;
    wifi::NetworkWatch::Lookup lookUpNetworks;
  };

  /// The scheduler and all parts outlive the mode.
  WiFiMode(dispatch::Scheduler& scheduler, Parts parts);
  ~WiFiMode() override;

  /// The port that the page's field holds; checked when the server starts.
  void setPort(const QString& port) { page_.port = port; }

  /// Opens the page, and starts the server and the sound where there is an address.
  void enter();

  /// Ends the server, the watch and everything posted. The sound is the caller's.
  void leave();

  bool isOpen() const { return open_; }
  bool isServerRunning() const { return server_.isRunning(); }
  std::size_t clientCount() const { return server_.clientCount(); }

  /// The running sound has begun or ceased to carry nothing.
  void onSilence() { refreshOnlineStatusMessage(); }

  /// Draws the code of the address and port fields.
  void openQRHelp();

 private:
  // What the server reports.
  void onStarted() override;
  void onStartFailed(const wifi::StartFailure& failure) override;
  void onStopped() override;
  void onClientsChanged() override { refreshOnlineStatusMessage(); }

  // What the watch reports.
  void onNetworksChanged(const wifi::LocalNetworks& networks) override;
  void onAddressLost() override;
  void onAddressBack(const std::string& address) override;
  void onAddressChanged(const std::string& address) override;
  void onNetworkChangeSettled(const std::string& address) override;

  void startUDP();
  void restartUDP();
  void silentReenterOnlineMode();
  void reenterPage();
  void refreshOnlineStatusMessage();
  void updateUIForUDPDisconnected();

  void showNetworkMessage(const QString& title);
  void show() { parts_.view.showWiFiPage(page_); }
  QString failureText(const wifi::StartFailure& failure) const;

  dispatch::Scheduler& scheduler_;
  Parts parts_;

  bool open_ = false;
  bool refreshPosted_ = false;
  QString serverProblem_;  ///< why nothing listens; empty while something does
  WiFiPage page_;
  dispatch::Scope whileOpen_;

  wifi::UdpServer server_;
  wifi::NetworkWatch watch_;
};

}  // namespace quorin::app
