#pragma once

#include "core/scheduler.h"
#include "stream/audio_sender.h"
#include "wifi/client_table.h"
#include "wifi/request.h"
#include "wifi/wifi_transport.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorin::wifi {

/// Why the server did not start.
struct StartFailure {
  enum class Step {
    kPort,    ///< not within 1 to 65535; nothing was changed
    kSocket,  ///< no socket could be made
    kBind,    ///< the port is taken (EADDRINUSE) or not ours to take (EACCES)
  };
  Step step;
  int error = 0;           ///< errno of the step, 0 for `kPort`
  std::uint16_t port = 0;  ///< 0 for `kPort`

  friend bool operator==(const StartFailure&, const StartFailure&) = default;
};

/// A registered client, for the page.
struct Client {
  wire::Endpoint endpoint;
  dispatch::WallTime connectedSince;  ///< time of day, by the clock as it is set now

  friend bool operator==(const Client&, const Client&) = default;
};

/// The Wi-Fi server: its socket, one more for each client, the table of clients, and the replies,
/// each from the address that was asked. Confined to the main queue.
class UdpServer {
 public:
  /// Max datagrams read from one socket in one turn of the main queue, so that a flood does not
  /// block the user interface.
  static constexpr int kDatagramsPerTurn = 64;
  static constexpr std::chrono::milliseconds kUpdateInterval{200};

  /// All but the callback must outlive the server. `onClientsChanged` is posted when `clients()` or
  /// `hasRefused()` may have changed: immediately after a pause, otherwise at most once per
  /// `kUpdateInterval`.
  UdpServer(dispatch::Scheduler& scheduler, stream::AudioSender& sender, WifiTransport& transport,
            std::function<void()> onClientsChanged);
  ~UdpServer();
  UdpServer(const UdpServer&) = delete;
  UdpServer& operator=(const UdpServer&) = delete;

  using Started = std::expected<void, StartFailure>;

  /// Only while stopped.
  Started startUDP(int port);

  /// Stops the send timer too. No effect while stopped.
  void stopUDP();

  /// Drops all clients, and rebinds if the port differs; starts a stopped server. The send timer
  /// keeps running.
  Started restartUDPForNetworkChange(int port);

  bool isRunning() const { return udpSocket_.has_value(); }
  std::uint16_t port() const { return port_; }  ///< of the running server

  /// In the order in which they joined.
  std::vector<Client> clients() const;
  std::size_t clientCount() const { return table_.clients().size(); }

  /// Drops the client as if it had sent STOP; its next HELLO is accepted.
  void disconnect(const wire::Endpoint& client);

  /// BUSY was sent since the table became full.
  bool hasRefused() const { return hasRefused_; }

  /// Where phones can be, besides the private ranges. Replaces the previous list.
  void setOwnNetworks(std::vector<network::Subnet> networks) { ownNetworks_ = std::move(networks); }

  /// Datagrams that were not a control message, or came from an implausible source.
  std::uint64_t ignoredDatagrams() const { return ignoredDatagrams_; }

 private:
  using Received = network::DatagramSocket::Received;

  /// A client's socket. Kept up to 1 s after the client leaves: pending datagrams are still read,
  /// and a quick rejoin reuses it.
  struct Connection {
    std::shared_ptr<const ClientSocket> socket;
    std::uint32_t local;
    std::unique_ptr<dispatch::ReadSource> readable;
  };

  void handleUDPReadable();
  void handleReadable(const wire::Endpoint& client);
  void drain(const auto& socket);
  void handle(Request request, const Received& received);
  void handleHello(const Received& received);
  void expireUDPClients();

  bool isConnected(const wire::Endpoint& client, std::uint32_t local) const;
  void connect(const wire::Endpoint& client, std::uint32_t local);
  void connectClients();
  void dropIfRefused(const wire::Endpoint& client);
  void closeUnused();
  void clientsChanged();
  void publishIfChanged();
  void updateSoon();
  void reply(const Received& to, std::string_view text) const;
  void forgetClients();
  void close();

  dispatch::Scheduler& scheduler_;
  stream::AudioSender& sender_;
  WifiTransport& transport_;
  std::function<void()> onClientsChanged_;

  std::uint16_t port_ = 0;
  ClientTable table_;
  std::vector<network::Subnet> ownNetworks_;
  std::uint64_t ignoredDatagrams_ = 0;
  bool hasRefused_ = false;
  bool audienceChanged_ = false;  ///< and is not yet published

  /// Sockets that may be opened until the next update, so that a flood of HELLO and STOP costs no
  /// more than one of PING.
  std::size_t connectsLeft_ = ClientTable::kMaxClients;
  bool updateDue_ = false;
  dispatch::TimePoint nextUpdate_{};  ///< earliest time of the next update
  dispatch::Scope whileRunning_;

  std::optional<network::DatagramSocket> udpSocket_;
  std::unordered_map<wire::Endpoint, Connection> connections_;
  std::unique_ptr<dispatch::ReadSource> udpReadSource_;
  std::unique_ptr<dispatch::Timer> udpClientTimeoutTimer_;
};

}  // namespace quorin::wifi
