#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

/// Frames: the units of a channel's byte stream.
///
///     0          4          8          12         16                 16 + size
///     | version  | type     | tag      | size     | payload          |
///     | 00000001 | 32 bits  | 32 bits  | 32 bits  | `size` bytes     |
///
/// All four fields are unsigned and big-endian. What types, tags and payloads mean is up to the
/// two ends.
namespace quorin::wire {

inline constexpr std::uint32_t kFrameVersion = 1;
inline constexpr std::size_t kFrameHeaderBytes = 16;

/// 1 MiB: a frame that announces more ends its channel.
inline constexpr std::uint32_t kMaxPayloadBytes = 1U << 20U;

struct FrameHeader {
  std::uint32_t type = 0;
  std::uint32_t tag = 0;
  std::uint32_t payloadSize = 0;

  friend bool operator==(const FrameHeader&, const FrameHeader&) = default;
};

std::uint32_t readBigEndian32(std::span<const std::byte, 4> bytes);
std::array<std::byte, 4> bigEndian32(std::uint32_t value);

std::array<std::byte, kFrameHeaderBytes> encodeFrameHeader(const FrameHeader& header);

/// The whole frame; `payload` at most `kMaxPayloadBytes`.
std::vector<std::byte> encodeFrame(std::uint32_t type, std::uint32_t tag,
                                   std::span<const std::byte> payload);

/// Cuts received bytes into frames. Pure: the owner receives into `space`, reports the number of
/// bytes to `received`, and calls `next` until it needs more.
///
///     const auto n = recv(fd, reader.space());
///     reader.received(n);
///     for (;;) { auto step = reader.next(); if (holds NeedMore) break; ... }
///
/// Memory follows the bytes received, never the size that a header announces: at most twice the
/// pending bytes, or `kInitialBytes`; none before the first call of `space`, and a large frame's is
/// freed. Payloads are not copied, unless their frame reaches the end of the buffer.
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
  /// An unknown version or a payload above the limit: the stream is unusable, and every later step
  /// `Broken` too.
  struct Broken {};
  using Step = std::variant<NeedMore, Header, Frame, Broken>;

  /// Where the next bytes belong; never empty.
  std::span<std::byte> space();
  void received(std::size_t count);

  Step next();

  /// Right after a `Header` step: the payload is discarded as it arrives.
  void skip();

  /// Bytes allocated.
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
