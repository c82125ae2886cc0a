#include "quorin-listen/udp_source.h"

#include "measure/sound_format.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>

namespace quorin::listen {
namespace {

measure::Nanoseconds nanoseconds(const timespec& time) {
  return std::chrono::seconds(time.tv_sec) + measure::Nanoseconds(time.tv_nsec);
}

measure::Nanoseconds stampOf(msghdr& message) {
  for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
    timespec time{};
    std::memcpy(&time, CMSG_DATA(part), sizeof time);
    return nanoseconds(time);
  }
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return nanoseconds(time);
}

std::unexpected<std::string> failure(const std::string& what) {
  return std::unexpected(what + ": " + std::generic_category().message(errno) + ".");
}

}  // namespace

std::expected<std::unique_ptr<UdpSource>, std::string> UdpSource::open(
    const wire::ClientKey& server, TimePoint now) {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket) return failure("Cannot open a UDP socket");
  const int on = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
  const int halfASecondAndMore = 256 * 1024;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &halfASecondAndMore, sizeof halfASecondAndMore);
  const auto address = server.socketAddress();
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return failure("Cannot reach " + server.text());
  }
  return std::unique_ptr<UdpSource>(new UdpSource(std::move(socket), server, now));
}

void UdpSource::serve(TimePoint now, const std::function<void(const Sound&)>& onSound) {
  std::array<std::byte, 65536> buffer;
  alignas(cmsghdr) std::array<std::byte, 256> control;
  // Bounded, so that a flood cannot keep the caller from its other duties.
  for (int turn = 0; turn < 256; ++turn) {
    iovec place{.iov_base = buffer.data(), .iov_len = buffer.size()};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto size = ::recvmsg(socket_.get(), &message, 0);
    // Refused says that nobody listens there yet; the session's time-out judges that.
    if (size < 0 && (errno == EINTR || errno == ECONNREFUSED)) continue;
    if (size < 0) break;
    const auto bytes = std::span(buffer).first(static_cast<std::size_t>(size));
    if (measure::formatOfLength(bytes.size())) {
      session_.onSound(now);
      onSound({.arrived = stampOf(message), .bytes = bytes});
    } else {
      session_.onMessage({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, now);
    }
  }
  sendWhatIsDue(now);
}

void UdpSource::sendWhatIsDue(TimePoint now) {
  while (const auto message = session_.nextMessage(now)) {
    // A lost message is repeated by the session. The one error worth a second try reports an
    // earlier datagram's fate.
    for (int attempt = 0; attempt < 2; ++attempt) {
      if (::send(socket_.get(), message->data(), message->size(), MSG_NOSIGNAL) >= 0) break;
    }
  }
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
    default:
      return std::nullopt;
  }
}

void UdpSource::leave(TimePoint now) {
  session_.leave();
  sendWhatIsDue(now);
}

}  // namespace quorin::listen
