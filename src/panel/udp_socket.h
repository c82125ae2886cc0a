#pragma once

#include "panel/datagram_socket.h"
#include "core/scheduler.h"
#include "core/thread_safety.h"
#include "core/log.h"
#include "platform/posix/file_descriptor.h"

#include <atomic>
#include <memory>

namespace quorin::panel {

/// A UDP socket on all local IPv4 addresses, read by a blocking loop on a queue of its own.
///
/// The loop and the senders share the descriptor's lock, so they never wait for each other; only
/// `close` takes it alone, after it has woken them all.
class UDPSocket final : public DatagramSocket {
 public:
  static constexpr std::size_t kReceiveBytes = 1024;  ///< a longer datagram is cut to these
  static constexpr int kSocketBufferBytes = 1024 * 1024;
  static constexpr int kReceiveTimeoutSeconds = 1;

  UDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port, log::PrintLine print);
  ~UDPSocket() override;

  void setOnMessageReceived(MessageHandler handler) override;
  std::expected<void, SocketError> start() override;
  void send(std::span<const std::byte> bytes, std::string_view key);
  void send(std::string_view text, std::string_view key) override;
  void sendToAll(std::span<const std::byte> bytes, std::span<const sockaddr_in> addresses) override;
  void close() override;

  bool isListening() const { return isListening_; }
  int socket() const;  ///< the descriptor, -1 while there is none
  /// The port that is bound: the one asked for, or the one the system chose for 0.
  std::uint16_t port() const { return port_; }

 private:
  struct Inbox;

  void startReceiving();
  void receiveOnce();
  void deliver(std::string text, std::string key);

  dispatch::Scheduler& scheduler_;
  log::PrintLine print_;
  std::uint16_t port_;

  mutable dispatch::SharedMutex descriptorMutex_;  ///< shared: in use; alone: opened or closed
  posix::FileDescriptor socket_ GUARDED_BY(descriptorMutex_);
  std::atomic<bool> isListening_ = false;

  std::shared_ptr<Inbox> inbox_;
  /// Last, hence first to end: it waits for the receive loop, which uses all of the above.
  std::unique_ptr<dispatch::SerialQueue> receiveQueue_;
};

/// The real thing, whose receive errors go to the console.
std::shared_ptr<DatagramSocket> makeUDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port);

}  // namespace quorin::panel
