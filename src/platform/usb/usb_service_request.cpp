#include "platform/usb/usb_service_request.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace quorin::usb {
namespace {

struct Header {
  std::uint32_t length;
  std::uint32_t version;
  std::uint32_t type;
  std::uint32_t tag;
};
constexpr std::size_t kHeaderBytes = sizeof(Header);
constexpr std::uint32_t kPropertyList = 8;
static_assert(std::endian::native == std::endian::little, "headers are sent as they are");

std::error_code lastError() {
  return {errno, std::generic_category()};
}

std::string encode(std::string_view type, const std::string& items) {
  const auto body = "<plist version=\"1.0\"><dict><key>MessageType</key><string>" +
                    std::string(type) +
                    "</string><key>ClientVersionString</key><string>quorin-stream</string>"
                    "<key>ProgName</key><string>quorin-stream</string>"
                    "<key>kLibUSBMuxVersion</key><integer>3</integer>" +
                    items + "</dict></plist>";
  const Header header{.length = static_cast<std::uint32_t>(kHeaderBytes + body.size()),
                      .version = 1,
                      .type = kPropertyList,
                      .tag = 1};
  return std::string(reinterpret_cast<const char*>(&header), kHeaderBytes) + body;
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
    Header header{};
    std::memcpy(&header, message_.data(), kHeaderBytes);
    if (header.type != kPropertyList || header.length <= kHeaderBytes ||
        header.length > kMaxMessageBytes) {
      return fail(std::make_error_code(std::errc::bad_message));
    }
    message_.resize(header.length);
    return;
  }
  auto list = readPropertyList(std::span(message_).subspan(kHeaderBytes));
  message_ = {};
  received_ = 0;
  timeout_.reset();
  if (!list) return fail(std::make_error_code(std::errc::bad_message));
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
