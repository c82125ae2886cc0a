#pragma once

#include "measure/stamped_socket.h"
#include "quorin-listen/sound_source.h"
#include "wire/endpoint.h"

#include <expected>
#include <memory>
#include <string>

namespace quorin::listen {

/// A server of 16-bit or float datagrams, joined as a phone does.
class UdpSource : public SoundSource {
 public:
  /// The error is a sentence for the user.
  static std::expected<std::unique_ptr<UdpSource>, std::string> open(const wire::Endpoint& server,
                                                                     TimePoint now);

  int descriptor() const override { return socket_.descriptor(); }
  TimePoint nextDeadline() const override { return session_.nextDeadline(); }
  void serve(TimePoint now, const std::function<void(const Sound&)>& onSound) override;
  bool joined() const override { return session_.state() == ClientSession::State::kJoined; }
  std::optional<Ending> ending() const override;
  std::optional<std::string> protocolError() const override;
  void leave(TimePoint now) override;

 private:
  UdpSource(measure::StampedSocket socket, const wire::Endpoint& server, TimePoint now)
      : socket_(std::move(socket)), server_(server), session_(now) {}
  void sendWhatIsDue(TimePoint now);

  measure::StampedSocket socket_;
  wire::Endpoint server_;
  ClientSession session_;
};

}  // namespace quorin::listen
