#include "quorin-listen/udp_source.h"

#include "measure/sound_format.h"
#include "wire/text.h"

namespace quorin::listen {

std::expected<std::unique_ptr<UdpSource>, std::string> UdpSource::open(const wire::Endpoint& server,
                                                                       TimePoint now) {
  auto socket = measure::StampedSocket::connectTo(server);
  if (!socket) return std::unexpected(std::move(socket.error()));
  return std::unique_ptr<UdpSource>(new UdpSource(std::move(*socket), server, now));
}

void UdpSource::serve(TimePoint now, const std::function<void(const Sound&)>& onSound) {
  // Bounded, so that a flood cannot keep the caller from its other duties.
  for (int turn = 0; turn < 256; ++turn) {
    const auto datagram = socket_.receive();
    if (!datagram) break;
    const auto bytes = datagram->bytes;
    if (const auto format = measure::formatOfLength(bytes.size())) {
      if (session_.onSound(now, *format)) {
        onSound({.arrived = datagram->arrived, .bytes = bytes});
      }
    } else {
      session_.onMessage({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, now);
    }
  }
  sendWhatIsDue(now);
}

void UdpSource::sendWhatIsDue(TimePoint now) {
  while (const auto message = session_.nextMessage(now)) socket_.send(*message);
}

std::optional<Ending> UdpSource::ending() const {
  switch (session_.state()) {
    case ClientSession::State::kUnanswered:
      return Ending{.code = kFailed,
                    .sentence = "No answer from " + server_.text() +
                                " for 3 s: check the address and the port that Quorin Stream "
                                "shows, and that no firewall blocks UDP between the two."};
    case ClientSession::State::kRefused:
      return Ending{.code = kServerFull,
                    .sentence = server_.text() +
                                " already serves as many listeners as it can: stop one of them "
                                "and try again."};
    case ClientSession::State::kStrangeFormat:
      return Ending{.code = kFailed,
                    .sentence = server_.text() + " announces a format that is not known here: " +
                                wire::displayable(session_.strangeFormat()) +
                                ". Is it a Quorin Stream of another version?"};
    default:
      return std::nullopt;
  }
}

std::optional<std::string> UdpSource::protocolError() const {
  if (session_.answeredInOrder()) return std::nullopt;
  return "The server's answers did not come as READY, format line, sound, but as " +
         session_.answers() + ": some were lost on the way, or the server is at fault.";
}

void UdpSource::leave(TimePoint now) {
  session_.leave();
  sendWhatIsDue(now);
}

}  // namespace quorin::listen
