#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// Cuts received bytes into frames. Pure: the owner passes on what it receives, and calls `next`
/// until it needs more.
///
///     reader.received(bytes);
///     for (;;) { auto step = reader.next(); if (holds NeedMore) break; ... }
///
/// Memory depends on the bytes received, never on an announced size: at most twice the pending
/// bytes, or twice `kMaxKept`. Nothing is allocated before the first byte; the buffer of a
/// large frame is freed.
class FrameReader {
 public:
  static constexpr std::size_t kMaxKept = 32 * 1024;

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

  void received(std::span<const std::byte> bytes);
  Step next();

  /// Right after a `Header` step: the payload is discarded as it arrives.
  void skip();

  /// Bytes allocated.
  std::size_t capacity() const { return pending_.capacity(); }

 private:
  std::size_t waiting() const { return pending_.size() - begin_; }
  std::span<const std::byte> take(std::size_t count);
  Step readHeader();

  std::vector<std::byte> pending_;
  std::size_t begin_ = 0;              ///< first byte not handed out
  std::optional<FrameHeader> header_;  ///< its payload is next
  std::size_t toSkip_ = 0;             ///< payload bytes still to discard
  bool broken_ = false;
};

}  // namespace quorin::wire
