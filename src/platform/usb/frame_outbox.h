#pragma once

#include "wire/frame.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

namespace quorin::usb {

/// The frames waiting to be written to a channel, and their order. Pure; confined to the writer.
///
/// Two kinds of frames share the stream, each written whole before the next begins:
/// - reliable frames go first, in order, and are never dropped: at most `kMaxReliable` wait;
/// - live frames are useless when late: beyond `kMaxLive` the oldest are dropped. Their memory is
///   preallocated; appending one allocates nothing.
class FrameOutbox {
 public:
  using Written = std::move_only_function<void(std::error_code)>;
  struct Reliable {
    std::vector<std::byte> frame;  ///< whole
    Written written;               ///< not empty
  };

  /// 200 ms of 20 ms chunks.
  static constexpr std::size_t kMaxLive = 10;
  static constexpr std::size_t kMaxLivePayload = 4096;
  /// Exceeded only if the peer reads nothing.
  static constexpr std::size_t kMaxReliable = 10;

  /// `payload` at most `kMaxLivePayload`. True when another live frame was dropped for it.
  bool appendLive(std::uint32_t type, std::uint32_t tag, std::span<const std::byte> payload);

  /// No reliable frame fits any more.
  bool isFull() const { return reliable_.size() == kMaxReliable; }
  bool hasReliable() const { return !reliable_.empty(); }
  void appendReliable(Reliable frame) { reliable_.push_back(std::move(frame)); }

  /// The next bytes to write: the rest of one frame; empty when none waits. Valid until the next
  /// call.
  std::span<const std::byte> next() const;

  /// The first `count` bytes of `next` are written. Returns the callback of the reliable frame this
  /// completed, else none.
  Written written(std::size_t count);

  /// Once, when nothing can be written any more: the reliable frames that wait.
  std::deque<Reliable> takeReliable() { return std::move(reliable_); }

 private:
  static constexpr std::size_t kSlotBytes = wire::kFrameHeaderBytes + kMaxLivePayload;
  struct Slot {
    std::size_t size = 0;
    std::array<std::byte, kSlotBytes> bytes;
    std::span<const std::byte> contents() const { return std::span(bytes).first(size); }
  };

  void dropOldestLive();

  /// Live frames, oldest first: a ring, so that the memory stays where it is.
  std::array<Slot, kMaxLive> live_;
  std::size_t liveHead_ = 0;
  std::size_t liveCount_ = 0;

  /// The live frame being written, which cannot be dropped.
  Slot begun_;
  std::size_t begunWritten_ = 0;

  std::deque<Reliable> reliable_;
  std::size_t reliableWritten_ = 0;  ///< of the first one
};

}  // namespace quorin::usb
