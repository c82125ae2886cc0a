#pragma once

#include "core/queue.h"
#include "platform/usb/frame_sender.h"
#include "platform/usb/usb_hub.h"
#include "wire/frame.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <system_error>

namespace quorin::usb {

class PTChannel;

/// In host byte order: 127.0.0.1 is 0x7F000001.
using IPv4Address = std::uint32_t;

/// What a connected channel reports, on the main queue.
class PTChannelDelegate {
 public:
  virtual ~PTChannelDelegate() = default;

  /// A header has come. On false the payload is thrown away. May close the channel.
  virtual bool shouldAcceptFrame(PTChannel& channel, const wire::FrameHeader& header) = 0;

  /// `payload` is valid during the call.
  virtual void didReceiveFrame(PTChannel& channel, const wire::FrameHeader& header,
                               std::span<const std::byte> payload) = 0;

  /// Once per channel that was connected, and its last call; the channel may be destroyed in it.
  /// No error when the other end or this one closed it.
  virtual void didEndWithError(PTChannel& channel, std::error_code error) = 0;
};

/// One stream of frames to another program, over non-blocking TCP: reads on the main queue, writes
/// on the send queue through its `FrameSender`. Confined to the main queue, where all callbacks
/// run, always after the operation they answer has returned.
///
/// Destroying a channel, also one that is connecting, closes it at once: no callback follows.
class PTChannel {
 public:
  using ConnectCallback = std::move_only_function<void(std::error_code)>;

  /// The queues and the delegate outlive the channel.
  PTChannel(ChannelQueues queues, PTChannelDelegate& delegate)
      : queues_(queues), delegate_(delegate) {}
  ~PTChannel();
  PTChannel(const PTChannel&) = delete;
  PTChannel& operator=(const PTChannel&) = delete;

  /// A channel connects once. The callback may destroy the channel.
  void connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device, ConnectCallback callback);
  void connectToPort(std::uint16_t port, IPv4Address address, ConnectCallback callback);

  /// Sends a frame that is never dropped, on a channel that has been connected. The callback, not
  /// empty, runs once the frame is written or cannot be: the channel has ended, or the other end
  /// has not read for so long that `FrameOutbox::kMaxReliable` frames wait.
  void sendFrameOfType(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload,
                       FrameSender::Written callback);

  /// None before the channel is connected. Shared with the send queue.
  const std::shared_ptr<FrameSender>& liveFrameSender() const { return sender_; }

  /// A tag this channel has not used; never 0.
  std::uint32_t newTag() { return ++lastTag_; }

  /// The channel's label: who is at the other end.
  const std::string& userInfo() const { return userInfo_; }
  void setUserInfo(std::string label) { userInfo_ = std::move(label); }

  /// Ends the channel; reported later. Unwritten frames are lost. Idempotent.
  void close() { end({}); }

 private:
  void connectionMade(std::error_code error);
  void open();
  void receive();
  void deliverFrames();
  void end(std::error_code error);

  ChannelQueues queues_;
  PTChannelDelegate& delegate_;
  ConnectCallback connected_;
  std::string userInfo_;
  std::uint32_t lastTag_ = 0;

  PTUSBHub::Operation throughHub_;
  /// Shared with the sender, which may still be writing when the channel ends.
  std::shared_ptr<posix::FileDescriptor> socket_ = std::make_shared<posix::FileDescriptor>();
  std::unique_ptr<dispatch::Timer> connecting_;     ///< asks whether it is connected
  std::unique_ptr<dispatch::ReadSource> readable_;  ///< while the channel is open
  wire::FrameReader reader_;
  std::shared_ptr<FrameSender> sender_;
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
