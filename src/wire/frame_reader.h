#pragma once

#include "wire/frame.h"

#include <span>
#include <variant>
#include <vector>

namespace quorin::wire {

/// Cuts received bytes into frames. Pure: the owner receives into `space`, says how much came
/// with `received`, and calls `next` until it needs more.
///
///     const auto n = recv(fd, reader.space());
///     reader.received(n);
///     for (;;) { auto step = reader.next(); if (holds NeedMore) break; ... }
///
/// Memory follows what has really arrived, never what a header announces: at most twice the
/// bytes that wait, or `kInitialBytes`; none before the first call of `space`, and a large frame's
/// is given back. Payloads are handed out where they were received; only a frame that reaches the
/// end of the buffer is moved.
class FrameReader {
 public:
  static constexpr std::size_t kInitialBytes = 32 * 1024;

  struct NeedMore {};
  /// A header has come. The payload follows as a `Frame`, unless `skip` is called.
  using Header = FrameHeader;
  struct Frame {
    FrameHeader header;
    std::span<const std::byte> payload;  ///< valid until the next call of the reader
  };
  /// An unknown version or a payload above the limit: the stream is unusable, every later step is
  /// `Broken` too.
  struct Broken {};
  using Step = std::variant<NeedMore, Header, Frame, Broken>;

  /// Where the next bytes belong; never empty.
  std::span<std::byte> space();
  void received(std::size_t count);

  Step next();

  /// Right after a `Header` step: the payload is thrown away as it arrives.
  void skip();

  /// What the reader has allocated, in bytes.
  std::size_t capacity() const { return buffer_.capacity(); }

 private:
  enum class State { kHeader, kPayload, kSkipping, kBroken };

  std::size_t waiting() const { return end_ - begin_; }
  std::size_t needed() const;
  std::span<const std::byte> take(std::size_t count);
  Step readHeader();

  std::vector<std::byte> buffer_;
  std::size_t begin_ = 0;  ///< first byte not handed out
  std::size_t end_ = 0;    ///< behind the last byte received
  State state_ = State::kHeader;
  FrameHeader header_;
  std::size_t toSkip_ = 0;
};

}  // namespace quorin::wire
