#pragma once

#include "core/scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "stream/audio_sender.h"
#include "wifi/client_table.h"
#include "wifi/wifi_transport.h"
#include "wifi/request.h"

#include <netinet/in.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace quorin::wifi {

/// Why the server did not start.
struct StartFailure {
  enum class Step {
    kPort,    ///< the text holds no port; nothing was changed
    kSocket,  ///< no socket could be made
    kBind,    ///< the port is taken (EADDRINUSE) or not ours to take (EACCES)
  };
  Step step;
  int error = 0;           ///< errno of the step, 0 for `kPort`
  std::uint16_t port = 0;  ///< 0 for `kPort`
};

/// What the server tells the page. On the main queue, from within the operation or at the end of
/// a turn of reading, when all state is settled; a callback may stop or restart the server.
///
/// A flood can make `onClientCountChanged`, `onConnected` and `onDisconnected` come with every
/// turn, hundreds of times a second, and often with nothing new: what they cause should be cheap
/// when nothing changed.
class UdpServerListener {
 public:
  virtual ~UdpServerListener() = default;
  UdpServerListener(const UdpServerListener&) = delete;
  UdpServerListener& operator=(const UdpServerListener&) = delete;

  virtual void onStarted() = 0;
  virtual void onStartFailed(const StartFailure& failure) = 0;
  virtual void onStopped() = 0;

  /// The count is to be shown anew; it may be the same as before.
  virtual void onClientCountChanged(std::size_t clients) = 0;
  /// Somebody said hello and is registered.
  virtual void onConnected() = 0;
  /// Somebody left, or said so, and nobody is registered.
  virtual void onDisconnected() = 0;

 protected:
  UdpServerListener() = default;
};

/// The server that phones speak to: one IPv4 socket, the table of clients, and the replies.
/// Confined to the main queue, which it keeps waiting for at most 50 ms: for a send
/// that still holds the port while it is bound anew.
class UdpServer {
 public:
  /// Most datagrams read in one turn of the main queue, so that a flood leaves the interface its
  /// share.
  static constexpr int kDatagramsPerTurn = 64;

  /// All must outlive the server.
  UdpServer(dispatch::Scheduler& scheduler, stream::AudioSender& sender, WifiTransport& transport,
            UdpServerListener& listener);
  ~UdpServer();
  UdpServer(const UdpServer&) = delete;
  UdpServer& operator=(const UdpServer&) = delete;

  /// Only while stopped. Answers with `onStarted` or one `onStartFailed`.
  void startUDP(std::string_view portText);

  /// Stops the send timer too. Does no harm while stopped.
  void stopUDP();

  /// Binds a running server anew, with an empty table; leaves a stopped one alone. The send timer
  /// goes on. Only `onStarted` or `onStartFailed` is told.
  void restartUDPForNetworkChange(std::string_view portText);

  bool isRunning() const { return udpRunning_; }
  std::size_t clientCount() const { return table_.clients().size(); }

  /// Datagrams that were read and not answered because they asked for nothing.
  std::uint64_t ignoredDatagrams() const { return ignoredDatagrams_; }

 private:
  /// What a turn of reading did, told to the others when it is over.
  struct Turn {
    bool tableChanged = false;  ///< who is registered
    bool joined = false;        ///< a HELLO was accepted
    bool left = false;          ///< a STOP came, or silence ended
  };

  void handleUDPReadable();
  void expireUDPClients();
  void handle(Request request, const sockaddr_in& source, Turn& turn);
  void handleHello(const sockaddr_in& source, Turn& turn);
  void finish(const Turn& turn);
  void reply(const sockaddr_in& to, std::string_view text) const;
  bool bindTo(std::uint16_t port) const;
  void close();

  dispatch::Scheduler& scheduler_;
  stream::AudioSender& sender_;
  WifiTransport& transport_;
  UdpServerListener& listener_;

  bool udpRunning_ = false;
  ClientTable table_;
  std::uint64_t ignoredDatagrams_ = 0;

  std::shared_ptr<const posix::FileDescriptor> udpSocket_;
  std::weak_ptr<const posix::FileDescriptor> formerSocket_;
  std::unique_ptr<dispatch::ReadSource> udpReadSource_;
  std::unique_ptr<dispatch::Timer> udpClientTimeoutTimer_;
};

}  // namespace quorin::wifi
