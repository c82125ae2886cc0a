#include "support/fake_usbmuxd.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace quorin::test {
namespace {

using Header = std::array<std::uint32_t, 4>;

void send(const posix::FileDescriptor& socket, const Bytes& message) {
  ::send(socket.get(), message.data(), message.size(), MSG_NOSIGNAL);
}
void sendResult(const posix::FileDescriptor& socket, unsigned result) {
  send(socket,
       usbMessage("<key>MessageType</key><string>Result</string><key>Number</key><integer>" +
                  std::to_string(result) + "</integer>"));
}

Bytes attached(usb::DeviceID device, const std::string& connection) {
  return usbMessage("Attached", device, connection, "phone-" + std::to_string(device));
}

}  // namespace

Bytes usbMessage(const Bytes& list) {
  const Header header{static_cast<std::uint32_t>(sizeof(Header) + list.size()), 1, 8, 0};
  Bytes message(sizeof header);
  std::memcpy(message.data(), header.data(), sizeof header);
  return message + list;
}

Bytes usbMessage(const std::string& items) {
  return usbMessage(bytesOf("<plist version=\"1.0\"><dict>" + items + "</dict></plist>"));
}

Bytes usbMessage(const std::string& type, usb::DeviceID device, const std::string& connection,
                 const std::string& serial) {
  return usbMessage("<key>MessageType</key><string>" + type +
                    "</string><key>DeviceID</key><integer>" + std::to_string(device) +
                    "</integer><key>Properties</key><dict><key>ConnectionType</key><string>" +
                    connection + "</string><key>SerialNumber</key><string>" + serial +
                    "</string></dict>");
}

void FakeUsbmuxd::start() {
  socket_ = listenAt(path_);
}

void FakeUsbmuxd::stop() {
  socket_.reset();
  ::unlink(path_.c_str());
  clients_.clear();
  listeners_.clear();
}

void FakeUsbmuxd::attach(usb::DeviceID device, const std::string& connection) {
  devices_[device] = connection;
  for (const auto& listener : listeners_) send(listener, attached(device, connection));
}

void FakeUsbmuxd::detach(usb::DeviceID device) {
  devices_.erase(device);
  for (const auto& listener : listeners_) send(listener, usbMessage("Detached", device, "", ""));
}

void FakeUsbmuxd::turn() {
  while (auto socket = acceptFrom(socket_)) {
    clients_.push_back({.socket = std::move(socket), .received = {}});
    ++accepted;
  }
  std::erase_if(clients_, [this](Client& client) {
    std::array<std::byte, 4096> buffer;
    const auto count = ::recv(client.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0) return errno != EAGAIN;
    if (count == 0) return true;
    client.received.insert(client.received.end(), buffer.begin(), buffer.begin() + count);
    std::uint32_t length = 0;
    if (client.received.size() < sizeof(Header)) return false;
    std::memcpy(&length, client.received.data(), sizeof length);
    if (client.received.size() < length) return false;
    const auto request =
        usb::readPropertyList(std::span(client.received).first(length).subspan(sizeof(Header)));
    client.received.clear();
    return answers && answer(client, request.get());
  });
  for (auto& [device, phone] : phones) phone.turn();
}

bool FakeUsbmuxd::answer(Client& client, plist_t request) {
  const auto type = usb::textIn(request, "MessageType");
  const auto device = static_cast<usb::DeviceID>(usb::numberIn(request, "DeviceID").value_or(0));
  if (type == "Listen") {
    sendResult(client.socket, 0);
    for (const auto& [number, connection] : devices_) {
      send(client.socket, attached(number, connection));
    }
    listeners_.push_back(std::move(client.socket));
    return true;
  }
  if (type == "Connect") {
    const auto port = static_cast<std::uint16_t>(usb::numberIn(request, "PortNumber").value_or(0));
    const unsigned result = !devices_.contains(device) ? 2 : !apps.contains(device) ? 3 : 0;
    connects.push_back(std::to_string(device) + ":" + std::to_string(ntohs(port)) + " " +
                       std::to_string(result));
    sendResult(client.socket, result);
    if (result == 0) phones.insert_or_assign(device, FakePhone(std::move(client.socket)));
    return result == 0;
  }
  if (type == "ReadPairRecord") {
    const auto serial = usb::textIn(request, "PairRecordID");  // "phone-N"
    strangers.contains(usb::DeviceID(serial.back()) - '0')
        ? sendResult(client.socket, 2)
        : send(client.socket, usbMessage("<key>PairRecordData</key><data>AAAA</data>"));
    return false;
  }
  sendResult(client.socket, 1);
  return false;
}

}  // namespace quorin::test
