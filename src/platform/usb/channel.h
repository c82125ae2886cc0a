#pragma once

#include "core/scheduler.h"
#include "platform/usb/frame.h"
#include "platform/usb/usb_hub.h"
#include "wire/client_key.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <variant>

namespace quorin::usb {

class PTChannel;

/// In host byte order: 127.0.0.1 is 0x7F000001.
using IPv4Address = std::uint32_t;

/// The other end of a channel made to an IPv4 address: address and TCP port.
using PTAddress = wire::ClientKey;

/// Who is at the other end: a device's number, or a text.
class ChannelLabel {
 public:
  ChannelLabel() = default;
  explicit ChannelLabel(DeviceID device) : value_(device) {}
  explicit ChannelLabel(std::string text) : value_(std::move(text)) {}

  bool isDevice(DeviceID device) const {
    const auto* number = std::get_if<DeviceID>(&value_);
    return number != nullptr && *number == device;
  }
  std::string text() const {
    const auto* number = std::get_if<DeviceID>(&value_);
    return number != nullptr ? std::to_string(*number) : std::get<std::string>(value_);
  }

 private:
  std::variant<std::string, DeviceID> value_;
};

/// What a connected channel tells its owner, on the main queue.
class PTChannelDelegate {
 public:
  virtual ~PTChannelDelegate() = default;

  /// A header has come. On false the payload is thrown away.
  virtual bool shouldAcceptFrame(PTChannel& channel, const FrameHeader& header) = 0;

  /// `payload` is valid during the call.
  virtual void didReceiveFrame(PTChannel& channel, const FrameHeader& header,
                               std::span<const std::byte> payload) = 0;

  /// Once per channel that was connected, and the last thing it says. No error when the other
  /// end or this one closed it.
  virtual void didEndWithError(PTChannel& channel, std::error_code error) = 0;
};

/// Sends frames that are dropped rather than late: beyond 200 ms of backlog the oldest go. For
/// the thread that paces audio: confined to the queue it was made for, never waits, allocates
/// nothing. May be kept, and used in vain, after its channel has ended.
class LiveFrameSender {
 public:
  virtual ~LiveFrameSender() = default;

  /// `payload` at most 4096 bytes, copied.
  virtual void send(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload) = 0;

  /// Frames dropped since the channel opened. Any thread.
  virtual std::uint64_t dropped() const = 0;
};

/// One stream of frames to another program. Confined to the main queue, where all callbacks run,
/// always after the operation they answer has returned.
///
/// Destroying a channel closes it silently: no callback follows.
class PTChannel {
 public:
  using ConnectCallback = std::move_only_function<void(std::error_code)>;
  using ConnectToAddressCallback =
      std::move_only_function<void(std::expected<PTAddress, std::error_code>)>;
  using SendCallback = std::move_only_function<void(std::error_code)>;

  virtual ~PTChannel() = default;
  PTChannel(const PTChannel&) = delete;
  PTChannel& operator=(const PTChannel&) = delete;

  /// A channel connects once. The hub must outlive the attempt.
  virtual void connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device,
                             ConnectCallback callback) = 0;
  virtual void connectToPort(std::uint16_t port, IPv4Address address,
                             ConnectToAddressCallback callback) = 0;

  /// Sends a frame that is never dropped. The callback, which may be empty, hears once that the
  /// frame is written, or why it cannot be: the channel is not connected or has ended, or the
  /// other end has not read for so long that 1 MiB waits.
  virtual void sendFrameOfType(std::uint32_t type, std::uint32_t tag,
                               std::span<const std::byte> payload, SendCallback callback) = 0;

  /// None before the channel is connected. Shared with the send queue.
  virtual std::shared_ptr<LiveFrameSender> liveFrameSender() const = 0;

  /// A tag this channel has not used; never 0.
  virtual std::uint32_t newTag() = 0;

  virtual const ChannelLabel& userInfo() const = 0;
  virtual void setUserInfo(ChannelLabel label) = 0;

  /// Ends the channel. Frames not written yet are lost. Closing twice is closing once.
  virtual void close() = 0;

 protected:
  PTChannel() = default;
};

class PTChannelFactory {
 public:
  virtual ~PTChannelFactory() = default;

  /// A new, unconnected channel. A delegate that is gone is told nothing.
  virtual std::shared_ptr<PTChannel> channelWithDelegate(
      std::weak_ptr<PTChannelDelegate> delegate) = 0;
};

/// Channels over non-blocking TCP that write on `sendQueue`, the queue that paces audio. Both
/// arguments outlive the factory and its channels.
std::unique_ptr<PTChannelFactory> makeTcpChannelFactory(dispatch::Scheduler& scheduler,
                                                        dispatch::Queue& sendQueue);

}  // namespace quorin::usb
