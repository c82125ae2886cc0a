#pragma once

#include "platform/usb/channel.h"
#include "platform/usb/usb_hub.h"
#include "support/bytes.h"
#include "support/fake_phone.h"

#include <memory>
#include <optional>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

/// A hub and channels that do nothing by themselves: the test says what happens to them.
namespace quorin::test {

class FakeHub : public usb::PTUSBHub {
 public:
  void startListening(usb::PTUSBHubEvents events) override { events_ = std::move(events); }
  void stopListening() override { events_ = {}; }
  void connect(usb::DeviceID, std::uint16_t, ConnectCallback) override {}

  void attach(usb::DeviceID device) { events_.didAttach({.number = device, .serialNumber = {}}); }
  void detach(usb::DeviceID device) { events_.didDetach(device); }
  bool isListening() const { return events_.didAttach != nullptr; }

 private:
  usb::PTUSBHubEvents events_;
};

class FakeLiveSender : public usb::LiveFrameSender {
 public:
  void send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload) override {
    sent.push_back({type, tag, toBytes(payload)});
  }
  std::uint64_t dropped() const override { return 0; }

  std::vector<SentFrame> sent;
};

class FakeChannel : public usb::PTChannel, public std::enable_shared_from_this<FakeChannel> {
 public:
  FakeChannel(dispatch::Queue& main, std::weak_ptr<usb::PTChannelDelegate> delegate)
      : main_(main), delegate_(std::move(delegate)) {}

  // ---- What the test does and sees

  /// "usb 5:2345" or "ipv4 127.0.0.1:2345".
  std::string destination;
  bool isConnecting() const { return connected_ || connectedToAddress_; }
  bool isClosed = false;
  std::vector<SentFrame> sent;
  std::shared_ptr<FakeLiveSender> live = std::make_shared<FakeLiveSender>();

  void connects(usb::PTAddress peer = {}) {
    isConnected_ = true;
    if (connected_) std::exchange(connected_, nullptr)({});
    if (connectedToAddress_) std::exchange(connectedToAddress_, nullptr)(peer);
  }
  void failsToConnect(std::error_code error) {
    if (connected_) std::exchange(connected_, nullptr)(error);
    if (connectedToAddress_) std::exchange(connectedToAddress_, nullptr)(std::unexpected(error));
  }
  /// All frames sent so far are written, or fail.
  void writes(std::error_code error = {}) {
    for (auto& callback : std::exchange(callbacks_, {})) {
      if (callback) callback(error);
    }
  }
  void phoneSends(std::uint32_t type, std::uint32_t tag, const Bytes& payload) {
    const usb::FrameHeader header{type, tag, static_cast<std::uint32_t>(payload.size())};
    const auto delegate = delegate_.lock();
    if (delegate->shouldAcceptFrame(*this, header)) {
      delegate->didReceiveFrame(*this, header, payload);
    }
  }
  void cableBreaks() { end(std::make_error_code(std::errc::connection_reset)); }

  // ---- usb::PTChannel

  void connectToPort(std::uint16_t port, usb::PTUSBHub&, usb::DeviceID device,
                     ConnectCallback callback) override {
    destination = "usb " + std::to_string(device) + ":" + std::to_string(port);
    connected_ = std::move(callback);
  }
  void connectToPort(std::uint16_t port, usb::IPv4Address address,
                     ConnectToAddressCallback callback) override {
    destination = "ipv4 " + usb::PTAddress{.address = address, .port = port}.text();
    connectedToAddress_ = std::move(callback);
  }
  void sendFrameOfType(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload,
                       SendCallback callback) override {
    sent.push_back({type, tag, toBytes(payload)});
    callbacks_.push_back(std::move(callback));
  }
  std::shared_ptr<usb::LiveFrameSender> liveFrameSender() const override { return live; }
  std::uint32_t newTag() override { return ++lastTag_; }
  const usb::ChannelLabel& userInfo() const override { return label_; }
  void setUserInfo(usb::ChannelLabel label) override { label_ = std::move(label); }
  void close() override {
    isClosed = true;
    end({});
  }

 private:
  void end(std::error_code error) {
    if (!std::exchange(isConnected_, false)) return;
    main_.async([self = shared_from_this(), error] {
      self->writes(std::make_error_code(std::errc::operation_canceled));
      if (const auto delegate = self->delegate_.lock()) delegate->didEndWithError(*self, error);
    });
  }

  dispatch::Queue& main_;
  std::weak_ptr<usb::PTChannelDelegate> delegate_;
  ConnectCallback connected_;
  ConnectToAddressCallback connectedToAddress_;
  std::vector<SendCallback> callbacks_;
  bool isConnected_ = false;
  std::uint32_t lastTag_ = 0;
  usb::ChannelLabel label_;
};

class FakeChannels : public usb::PTChannelFactory {
 public:
  explicit FakeChannels(dispatch::Queue& main) : main_(main) {}

  std::shared_ptr<usb::PTChannel> channelWithDelegate(
      std::weak_ptr<usb::PTChannelDelegate> delegate) override {
    made.push_back(std::make_shared<FakeChannel>(main_, std::move(delegate)));
    return made.back();
  }

  /// The newest attempt to a destination that begins like this and has no result yet; none when
  /// there is no such attempt.
  std::shared_ptr<FakeChannel> connecting(const std::string& destination) const {
    for (const auto& channel : std::views::reverse(made)) {
      if (channel->isConnecting() && channel->destination.starts_with(destination)) return channel;
    }
    return nullptr;
  }

  std::vector<std::shared_ptr<FakeChannel>> made;

 private:
  dispatch::Queue& main_;
};

}  // namespace quorin::test
