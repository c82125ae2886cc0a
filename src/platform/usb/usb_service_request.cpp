#include "platform/usb/usb_service_request.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace quorin::usb {
namespace {

constexpr std::size_t kHeaderBytes = 16;
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kPropertyList = 8;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

void append(std::string& bytes, std::uint32_t value) {
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
}

std::uint32_t fieldAt(std::span<const std::byte> header, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) {
    value = value << 8U | std::to_integer<std::uint32_t>(header[at + i]);
  }
  return value;
}

std::string encode(std::string_view type, const std::string& items) {
  const auto body = "<plist version=\"1.0\"><dict><key>MessageType</key><string>" +
                    std::string(type) +
                    "</string><key>ClientVersionString</key><string>quorin-stream</string>"
                    "<key>ProgName</key><string>quorin-stream</string>"
                    "<key>kLibUSBMuxVersion</key><integer>3</integer>" +
                    items + "</dict></plist>";
  std::string message;
  append(message, static_cast<std::uint32_t>(kHeaderBytes + body.size()));
  append(message, kVersion);
  append(message, kPropertyList);
  append(message, 1);
  return message + body;
}

std::string socketPath() {
  constexpr std::string_view kScheme = "UNIX:";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change
  const auto* chosen = std::getenv("USBMUXD_SOCKET_ADDRESS");
  if (chosen == nullptr || !std::string_view(chosen).starts_with(kScheme)) {
    return "/var/run/usbmuxd";
  }
  return chosen + kScheme.size();
}

}  // namespace

std::shared_ptr<UsbServiceRequest> UsbServiceRequest::send(dispatch::Queue& main,
                                                           std::string_view type,
                                                           const std::string& items,
                                                           Handler handler) {
  const std::shared_ptr<UsbServiceRequest> request(new UsbServiceRequest(std::move(handler)));
  if (const auto error = request->open(main, encode(type, items))) {
    main.async([weak = request->weak_from_this(), error] {
      if (const auto self = weak.lock()) self->fail(error);
    });
  }
  return request;
}

std::error_code UsbServiceRequest::open(dispatch::Queue& main, const std::string& message) {
  const auto path = socketPath();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {ENAMETOOLONG, std::generic_category()};
  std::memcpy(address.sun_path, path.data(), path.size());
  socket_ = posix::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket_) return lastError();
  // Both succeed at once or not at all: a Unix socket has no connecting state, and the request is
  // far smaller than the buffer of a fresh connection.
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(socket_.get(), generic, sizeof address) != 0 ||
      ::send(socket_.get(), message.data(), message.size(), MSG_NOSIGNAL) < 0) {
    return lastError();
  }
  readable_ = main.makeReadSource(socket_.get(), [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->receive();
  });
  timeout_ = main.makeTimer({.first = kTimeout}, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->fail(std::make_error_code(std::errc::timed_out));
  });
  return {};
}

// Reads no further than the message: behind the answer to Connect the phone's own bytes begin.
void UsbServiceRequest::receive() {
  const bool inHeader = received_ < kHeaderBytes;
  if (inHeader) message_.resize(kHeaderBytes);
  const auto count =
      ::recv(socket_.get(), message_.data() + received_, message_.size() - received_, MSG_DONTWAIT);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count < 0) return fail(lastError());
  if (count == 0) return fail(std::make_error_code(std::errc::connection_aborted));
  received_ += static_cast<std::size_t>(count);
  if (received_ < message_.size()) return;

  if (inHeader) {
    const std::size_t size = fieldAt(message_, 0);
    if (fieldAt(message_, 8) != kPropertyList || size <= kHeaderBytes || size > kMaxMessageBytes) {
      return fail(std::make_error_code(std::errc::protocol_error));
    }
    message_.resize(size);
    return;
  }
  auto list = readPropertyList(std::span(message_).subspan(kHeaderBytes));
  message_ = {};
  received_ = 0;
  timeout_.reset();
  if (!list) return fail(std::make_error_code(std::errc::protocol_error));
  handler_(this, std::move(list));
}

void UsbServiceRequest::fail(std::error_code error) {
  readable_.reset();
  timeout_.reset();
  socket_.reset();
  if (auto handler = std::exchange(handler_, nullptr)) handler(this, std::unexpected(error));
}

posix::FileDescriptor UsbServiceRequest::takeSocket() {
  readable_.reset();
  return std::move(socket_);
}

}  // namespace quorin::usb
