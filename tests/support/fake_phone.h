#pragma once

#include "platform/posix/file_descriptor.h"
#include "support/bytes.h"
#include "wire/frame.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace quorin::test {

struct SentFrame {
  std::uint32_t type = 0;
  std::uint32_t tag = 0;
  Bytes payload;

  friend bool operator==(const SentFrame&, const SentFrame&) = default;
};

/// The phone's end of a channel's socket. Does something only inside `turn`, which a test calls
/// while it waits; never blocks there.
class FakePhone {
 public:
  explicit FakePhone(posix::FileDescriptor socket);

  /// Reads what is there.
  void turn();

  void send(std::uint32_t type, std::uint32_t tag, const Bytes& payload);
  void sendBytes(std::span<const std::byte> bytes);
  void hangUp() { socket_.reset(); }

  std::vector<SentFrame> frames;  ///< received since they were last taken away
  bool sawEnd = false;            ///< the other end has closed
  bool sawBrokenFrame = false;

 private:
  posix::FileDescriptor socket_;
  wire::FrameReader reader_;
};

/// A non-blocking socket that listens on this TCP port of 127.0.0.1, or at this path.
posix::FileDescriptor listenAt(std::uint16_t port);
posix::FileDescriptor listenAt(const std::filesystem::path& path);
/// The next connection that has been made to a listening socket.
posix::FileDescriptor acceptFrom(const posix::FileDescriptor& listener);

}  // namespace quorin::test
