#pragma once

#include "platform/posix/file_descriptor.h"
#include "quorin-listen/sound_source.h"
#include "wire/cable_frames.h"
#include "wire/frame.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace quorin::listen {

/// The phone's end of the cable, on this machine: waits on a TCP port of 127.0.0.1 for the
/// computer, which tries it once a second, introduces itself, answers pings and hands over the
/// frames of sound. After a channel ends it waits for the next one.
class CableSource : public SoundSource {
 public:
  using TextHandler = std::function<void(std::string_view text)>;

  /// `onText` gets what the computer writes. The error is a sentence for the user.
  static std::expected<std::unique_ptr<CableSource>, std::string> open(std::uint16_t port,
                                                                       TextHandler onText);

  int descriptor() const override { return events_.get(); }
  void serve(TimePoint now, const std::function<void(const Sound&)>& onSound) override;
  bool joined() const override { return channel_.isOpen(); }
  std::optional<Ending> ending() const override { return ending_; }
  void leave(TimePoint now) override;

 private:
  CableSource(posix::FileDescriptor listener, posix::FileDescriptor events, TextHandler onText);

  void acceptChannel();
  /// False when there is nothing more for now.
  bool readSome(const std::function<void(const Sound&)>& onSound);
  void take(const wire::FrameReader::Frame& frame, measure::Nanoseconds arrived,
            const std::function<void(const Sound&)>& onSound);
  void send(wire::CableFrame type, std::uint32_t tag, std::span<const std::byte> payload);

  posix::FileDescriptor listener_;
  posix::FileDescriptor events_;  ///< readable when the listener or the channel is
  TextHandler onText_;
  posix::FileDescriptor channel_;
  wire::FrameReader reader_;
  std::optional<Ending> ending_;
};

}  // namespace quorin::listen
