#include "support/fake_usbmuxd.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace quorin::test {
namespace {

constexpr std::uint32_t kPlistKind = 8;
constexpr unsigned kOk = 0;
constexpr unsigned kBadCommand = 1;
constexpr unsigned kBadDevice = 2;
constexpr unsigned kConnectionRefused = 3;

using Header = std::array<std::uint32_t, 4>;

plist_t attached(usb::DeviceID device) {
  const auto properties = plist_new_dict();
  plist_dict_set_item(properties, "ConnectionType", plist_new_string("USB"));
  plist_dict_set_item(properties, "DeviceID", plist_new_uint(device));
  plist_dict_set_item(properties, "LocationID", plist_new_uint(0x10000 + device));
  plist_dict_set_item(properties, "ProductID", plist_new_uint(4776));
  plist_dict_set_item(properties, "SerialNumber",
                      plist_new_string(("phone-" + std::to_string(device)).c_str()));
  const auto message = plist_new_dict();
  plist_dict_set_item(message, "MessageType", plist_new_string("Attached"));
  plist_dict_set_item(message, "DeviceID", plist_new_uint(device));
  plist_dict_set_item(message, "Properties", properties);
  return message;
}

std::string text(plist_t dictionary, const char* key) {
  char* value = nullptr;
  if (const auto item = plist_dict_get_item(dictionary, key)) plist_get_string_val(item, &value);
  std::string result = value != nullptr ? value : "";
  std::free(value);
  return result;
}

std::uint64_t number(plist_t dictionary, const char* key) {
  std::uint64_t value = 0;
  if (const auto item = plist_dict_get_item(dictionary, key)) plist_get_uint_val(item, &value);
  return value;
}

}  // namespace

FakeUsbmuxd::FakeUsbmuxd(std::filesystem::path path) : path_(std::move(path)) {}

void FakeUsbmuxd::start() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
  socket_ = posix::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  ::unlink(path_.c_str());
  if (::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(socket_.get(), 8) != 0) {
    throw std::runtime_error("the stand-in USB service cannot listen");
  }
}

void FakeUsbmuxd::stop() {
  socket_.reset();
  ::unlink(path_.c_str());
  clients_.clear();
  listeners_.clear();
  connections_.clear();
}

void FakeUsbmuxd::attach(usb::DeviceID device) {
  devices_.insert(device);
  for (const auto& listener : listeners_) send(listener, 0, attached(device));
}

void FakeUsbmuxd::detach(usb::DeviceID device) {
  devices_.erase(device);
  connections_.erase(device);
  for (const auto& listener : listeners_) {
    const auto message = plist_new_dict();
    plist_dict_set_item(message, "MessageType", plist_new_string("Detached"));
    plist_dict_set_item(message, "DeviceID", plist_new_uint(device));
    send(listener, 0, message);
  }
}

std::optional<FakePhone> FakeUsbmuxd::takeConnection(usb::DeviceID device) {
  auto connection = connections_.extract(device);
  if (connection.empty()) return std::nullopt;
  return FakePhone(std::move(connection.mapped()));
}

void FakeUsbmuxd::turn() {
  if (!socket_) return;
  while (true) {
    posix::FileDescriptor socket(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!socket) break;
    clients_.push_back({.socket = std::move(socket), .received = {}});
  }
  answerClients();
}

void FakeUsbmuxd::answerClients() {
  std::erase_if(clients_, [this](Client& client) {
    std::array<std::byte, 4096> buffer;
    const auto count = ::recv(client.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0) return errno != EAGAIN;
    if (count == 0) return true;
    client.received.insert(client.received.end(), buffer.begin(), buffer.begin() + count);
    while (const auto message = takeMessage(client)) {
      const bool isTaken = answer(client, *message);
      plist_free(message->second);
      if (isTaken) return true;
    }
    return false;
  });
}

std::optional<FakeUsbmuxd::Message> FakeUsbmuxd::takeMessage(Client& client) {
  Header header{};
  if (client.received.size() < sizeof header) return std::nullopt;
  std::memcpy(header.data(), client.received.data(), sizeof header);
  const auto [length, version, kind, tag] = header;
  if (kind != kPlistKind || length < sizeof header) {
    throw std::runtime_error("the client does not speak the property-list protocol");
  }
  if (client.received.size() < length) return std::nullopt;
  plist_t message = nullptr;
  plist_from_xml(reinterpret_cast<const char*>(client.received.data() + sizeof header),
                 length - static_cast<std::uint32_t>(sizeof header), &message);
  client.received.erase(client.received.begin(), client.received.begin() + length);
  if (message == nullptr) throw std::runtime_error("the client sent no property list");
  return Message{tag, message};
}

bool FakeUsbmuxd::answer(Client& client, const Message& message) {
  const auto& [tag, request] = message;
  const auto type = text(request, "MessageType");
  if (type == "Connect") return answerConnect(client, message);
  if (type == "Listen") {
    sendResult(client.socket, tag, kOk);
    for (const auto device : devices_) send(client.socket, 0, attached(device));
    listeners_.push_back(std::move(client.socket));
    return true;
  }
  if (type == "ListDevices") {
    const auto list = plist_new_array();
    for (const auto device : devices_) plist_array_append_item(list, attached(device));
    const auto reply = plist_new_dict();
    plist_dict_set_item(reply, "DeviceList", list);
    send(client.socket, tag, reply);
    return false;
  }
  sendResult(client.socket, tag, kBadCommand);
  return false;
}

bool FakeUsbmuxd::answerConnect(Client& client, const Message& message) {
  const auto& [tag, request] = message;
  if (!answersConnect) return false;
  const auto device = static_cast<usb::DeviceID>(number(request, "DeviceID"));
  const auto port = ntohs(static_cast<std::uint16_t>(number(request, "PortNumber")));
  const auto result = !devices_.contains(device) ? kBadDevice
                      : !apps_.contains(device)  ? kConnectionRefused
                                                 : kOk;
  connects.push_back(std::to_string(device) + ":" + std::to_string(port) + " " +
                     std::to_string(result));
  sendResult(client.socket, tag, result);
  if (result != kOk) return false;
  connections_[device] = std::move(client.socket);
  return true;
}

void FakeUsbmuxd::send(const posix::FileDescriptor& socket, std::uint32_t tag, plist_t message) {
  char* body = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(message, &body, &length);
  plist_free(message);
  const Header header{static_cast<std::uint32_t>(sizeof(Header)) + length, 1, kPlistKind, tag};
  ::send(socket.get(), header.data(), sizeof header, MSG_NOSIGNAL);
  ::send(socket.get(), body, length, MSG_NOSIGNAL);
  std::free(body);
}

void FakeUsbmuxd::sendResult(const posix::FileDescriptor& socket, std::uint32_t tag,
                             unsigned result) {
  const auto message = plist_new_dict();
  plist_dict_set_item(message, "MessageType", plist_new_string("Result"));
  plist_dict_set_item(message, "Number", plist_new_uint(result));
  send(socket, tag, message);
}

}  // namespace quorin::test
