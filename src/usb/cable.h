#pragma once

#include "core/scheduler.h"
#include "usb/cable_audio_path.h"
#include "usb/cable_link.h"
#include "usb/line_limit.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::usb {

/// What the cable reports, on the main queue; none may be empty.
struct CableEvents {
  /// The state of the link or the hub, `appAnswers` or `phoneName` changed; posted.
  std::move_only_function<void()> didChange;
  /// A line for the console: a status line, or a message that was exchanged.
  std::move_only_function<void(std::string_view text, bool isStatus)> presentMessage;
};

/// The cable: the link to the phone, and the messages on its channel. Confined to the main queue
/// except for `audioPath`.
class Cable : private PTChannelDelegate {
 public:
  static constexpr std::chrono::milliseconds kPingInterval{1000};
  /// Without a pong for this long, the app or its phone is suspended.
  static constexpr std::chrono::seconds kPongTimeout{5};

  explicit Cable(CablePlatform platform, CableEvents events);

  CableLink& link() { return link_; }
  const CableLink& link() const { return link_; }
  /// Pacing has ended before the cable is destroyed.
  CableAudioPath& audioPath() { return audioPath_; }

  /// Starts the ping loop, which never stops: while a channel is held, one ping a second, counted
  /// from when the last one was written. Once, at start-up.
  void ping();

  /// False if no pong arrived for `kPongTimeout`; true again after the next pong.
  bool appAnswers() const { return appAnswers_; }
  /// The target's own name; empty if not received.
  std::string phoneName() const {
    return namedDevice_ == link_.connectingToDeviceID() ? phoneName_ : std::string();
  }

  /// Sends a text and shows it. False, and nothing done, while no channel is held: the caller
  /// then keeps the text.
  bool sendMessage(std::string_view text);

 private:
  bool shouldAcceptFrame(PTChannel& channel, const wire::FrameHeader& header) override;
  void didReceiveFrame(PTChannel& channel, const wire::FrameHeader& header,
                       std::span<const std::byte> payload) override;
  void didEndWithError(PTChannel& channel, std::error_code error) override;

  void didReceiveDeviceInformation(std::span<const std::byte> payload);
  void didReceiveText(const PTChannel& channel, std::span<const std::byte> payload);
  void channelWasSet(PTChannel* channel);
  void pingAgainLater();
  void pongWithTag(std::uint32_t tag);
  void awaitPong();
  void setAppAnswers(bool answers);

  dispatch::Scheduler& scheduler_;
  CableEvents events_;
  LineLimit peerLines_;
  CableAudioPath audioPath_;

  std::map<std::uint32_t, dispatch::TimePoint> pings_;  ///< not answered yet: when each was created
  std::unique_ptr<dispatch::Timer> nextPing_;
  std::unique_ptr<dispatch::Timer> pongTimeout_;
  bool appAnswers_ = true;
  std::optional<DeviceID> namedDevice_;
  std::string phoneName_;

  CableLink link_;
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
