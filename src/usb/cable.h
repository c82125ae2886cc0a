#pragma once

#include "core/scheduler.h"
#include "usb/cable_audio_path.h"
#include "usb/cable_link.h"
#include "usb/ping_loop.h"

#include <functional>
#include <memory>
#include <string_view>

namespace quorin::usb {

/// What the cable tells the app, on the main queue; all may be empty.
struct CableEvents {
  /// After each change of the channel, for the display.
  std::move_only_function<void(bool connected)> onChannelChanged;
  /// A line for the console: a status line, or a message that was exchanged.
  std::move_only_function<void(std::string_view text, bool isStatus)> presentMessage;
  /// Around each loss of the connected device's number.
  std::move_only_function<void()> willChangeConnectedDeviceID;
  std::move_only_function<void()> didChangeConnectedDeviceID;
};

/// The cable: the link to the phone, and what is said on its channel. Confined to the main queue
/// except for `audioPath`.
class Cable : private PTChannelDelegate {
 public:
  /// `sendQueue` is the queue that paces audio; it and what `platform` refers to outlive the
  /// cable.
  Cable(CablePlatform platform, dispatch::Queue& sendQueue, CableEvents events);
  ~Cable() override;

  CableLink& link() { return link_; }
  const CableLink& link() const { return link_; }
  /// Pacing has ended before the cable is destroyed.
  CableAudioPath& audioPath() { return audioPath_; }

  /// Starts the ping loop. Once, at start-up.
  void ping() { pingLoop_.ping(); }

  /// Sends a text and shows it. False, and nothing done, while no channel is held: the caller
  /// then keeps the text.
  bool sendMessage(std::string_view text);

 private:
  bool shouldAcceptFrame(PTChannel& channel, const FrameHeader& header) override;
  void didReceiveFrame(PTChannel& channel, const FrameHeader& header,
                       std::span<const std::byte> payload) override;
  void didEndWithError(PTChannel& channel, std::error_code error) override;

  void didReceiveText(const PTChannel& channel, std::span<const std::byte> payload);
  void present(std::string_view text, bool isStatus);
  CableLinkEvents linkEvents();

  CableEvents events_;
  /// Dies first of what `this` shows the channels, so that none of them calls a destroyed cable.
  std::shared_ptr<PTChannelDelegate> delegate_{static_cast<PTChannelDelegate*>(this),
                                               [](PTChannelDelegate*) {}};
  CableAudioPath audioPath_;
  CableLink link_;
  PingLoop pingLoop_;
};

}  // namespace quorin::usb
