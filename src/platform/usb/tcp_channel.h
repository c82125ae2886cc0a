#pragma once

#include "platform/usb/channel.h"
#include "platform/usb/frame_reader.h"
#include "platform/usb/frame_sender.h"
#include "platform/usb/writable_source.h"

#include <map>
#include <memory>

namespace quorin::usb {

/// A channel over a non-blocking stream socket: reads on the main queue, writes on the send queue
/// through its `FrameSender`.
class TcpChannel final : public PTChannel,
                         public FrameSenderOwner,
                         public std::enable_shared_from_this<TcpChannel> {
 public:
  TcpChannel(FrameSender::Queues queues, std::weak_ptr<PTChannelDelegate> delegate);
  ~TcpChannel() override;

  void connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device,
                     ConnectCallback callback) override;
  void connectToPort(std::uint16_t port, IPv4Address address,
                     ConnectToAddressCallback callback) override;
  void sendFrameOfType(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload,
                       SendCallback callback) override;
  std::shared_ptr<LiveFrameSender> liveFrameSender() const override { return sender_; }
  std::uint32_t newTag() override;
  const ChannelLabel& userInfo() const override { return label_; }
  void setUserInfo(ChannelLabel label) override { label_ = std::move(label); }
  void close() override { end({}); }

 private:
  enum class State { kNew, kConnecting, kConnected, kEnded };

  std::error_code beginConnecting(const PTAddress& peer);
  void connectionMade(std::error_code error);
  std::error_code open();
  void receive();
  void deliverFrames();
  void end(std::error_code error);

  void frameWasWritten(FrameOutbox::Id id, std::error_code error) override;
  void writingFailed(std::error_code error) override;

  FrameSender::Queues queues_;
  std::weak_ptr<PTChannelDelegate> delegate_;
  State state_ = State::kNew;
  ConnectCallback connected_;
  ChannelLabel label_;
  std::uint32_t lastTag_ = 0;

  /// Shared with the sender, which may still be writing when the channel ends.
  std::shared_ptr<posix::FileDescriptor> socket_ = std::make_shared<posix::FileDescriptor>();
  std::unique_ptr<WritableSource> connecting_;
  std::unique_ptr<dispatch::ReadSource> readable_;
  FrameReader reader_;
  std::shared_ptr<FrameSender> sender_;
  std::map<FrameOutbox::Id, SendCallback> sends_;  ///< not written yet
  FrameOutbox::Id lastSend_ = 0;
};

}  // namespace quorin::usb
