#include "quorin-listen/cable_source.h"

#include "measure/sound_format.h"
#include "measure/stamped_socket.h"
#include "wire/endpoint.h"

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace quorin::listen {
namespace {

using wire::CableFrame;

/// What an app tells of its phone, as a property list.
constexpr std::string_view kDeviceInformation =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>localizedModel</key><string>Receiver</string>
<key>name</key><string>quorin-listen</string>
<key>systemName</key><string>Linux</string>
</dict></plist>)";

/// Bounded, so that a flood cannot keep the caller from its other duties.
constexpr int kReadsPerTurn = 64;

std::unexpected<std::string> failure(const std::string& what) {
  return std::unexpected(what + ": " + std::generic_category().message(errno) + ".");
}

void watch(const posix::FileDescriptor& events, const posix::FileDescriptor& socket) {
  epoll_event interest{.events = EPOLLIN, .data = {.fd = socket.get()}};
  ::epoll_ctl(events.get(), EPOLL_CTL_ADD, socket.get(), &interest);
}

}  // namespace

std::expected<std::unique_ptr<CableSource>, std::string> CableSource::open(std::uint16_t port,
                                                                           TextHandler onText) {
  posix::FileDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  posix::FileDescriptor events(::epoll_create1(EPOLL_CLOEXEC));
  if (!listener || !events) return failure("Cannot open a TCP socket");
  const int on = 1;
  ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const wire::Endpoint here{.address = INADDR_LOOPBACK, .port = port};
  const auto address = here.socketAddress();
  if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), 1) != 0) {
    return failure("Cannot listen on " + here.text());
  }
  return std::unique_ptr<CableSource>(
      new CableSource(std::move(listener), std::move(events), std::move(onText)));
}

CableSource::CableSource(posix::FileDescriptor listener, posix::FileDescriptor events,
                         TextHandler onText)
    : listener_(std::move(listener)), events_(std::move(events)), onText_(std::move(onText)) {
  watch(events_, listener_);
}

void CableSource::serve(TimePoint, const std::function<void(const Sound&)>& onSound) {
  for (int turn = 0; turn < kReadsPerTurn && channel_ && !ending_; ++turn) {
    if (!readSome(onSound)) break;
  }
  acceptChannel();  // after the end of the one before it was read
}

void CableSource::acceptChannel() {
  posix::FileDescriptor channel(
      ::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!channel || channel_) return;  // one channel is enough: the second is closed
  const int on = 1;
  ::setsockopt(channel.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
  watch(events_, channel);
  channel_ = std::move(channel);
  reader_ = wire::FrameReader();
  send(CableFrame::kDeviceInformation, 0, std::as_bytes(std::span(kDeviceInformation)));
}

bool CableSource::readSome(const std::function<void(const Sound&)>& onSound) {
  std::array<std::byte, 65536> buffer;
  const auto received = measure::receiveStamped(channel_.get(), buffer);
  if (!received) return false;
  if (received->size == 0) {
    channel_.reset();
    return false;
  }
  reader_.received(std::span(buffer).first(received->size));
  for (;;) {
    const auto step = reader_.next();
    if (std::holds_alternative<wire::FrameReader::NeedMore>(step)) return true;
    if (const auto* frame = std::get_if<wire::FrameReader::Frame>(&step)) {
      take(*frame, received->arrived, onSound);
    } else if (std::holds_alternative<wire::FrameReader::Broken>(step)) {
      ending_ = Ending{.code = kFailed,
                       .sentence =
                           "What came on the channel are not the frames of Quorin Stream: "
                           "does another program use this port?"};
      return false;
    }
  }
}

void CableSource::take(const wire::FrameReader::Frame& frame, measure::Nanoseconds arrived,
                       const std::function<void(const Sound&)>& onSound) {
  switch (static_cast<CableFrame>(frame.header.type)) {
    case CableFrame::kAudio:
      if (measure::formatOfLength(frame.payload.size()) == measure::SampleFormat::kFloat32) {
        onSound({.arrived = arrived, .bytes = frame.payload});
      }
      break;
    case CableFrame::kPing:
      send(CableFrame::kPong, frame.header.tag, {});
      break;
    case CableFrame::kText:
      if (const auto text = wire::decodeText(frame.payload)) onText_(*text);
      break;
    default:
      break;  // not for a phone
  }
}

void CableSource::send(wire::CableFrame type, std::uint32_t tag,
                       std::span<const std::byte> payload) {
  const auto frame = wire::encodeFrame(static_cast<std::uint32_t>(type), tag, payload);
  // A computer that does not even take a pong has gone; the next read says so.
  (void)::send(channel_.get(), frame.data(), frame.size(), MSG_NOSIGNAL);
}

void CableSource::leave(TimePoint) {
  channel_.reset();
}

}  // namespace quorin::listen
