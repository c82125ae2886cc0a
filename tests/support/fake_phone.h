#pragma once

#include "platform/posix/file_descriptor.h"
#include "support/bytes.h"
#include "wire/frame_reader.h"

#include <cstdint>
#include <optional>
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
  /// Closes as a program that ends, or as a cable that is pulled out.
  void hangUp() { socket_.reset(); }
  void reset();

  std::vector<SentFrame> frames;  ///< received since they were last taken away
  Bytes stream;                   ///< every byte received
  bool sawEnd = false;            ///< the other end has closed
  bool sawBrokenFrame = false;

 private:
  posix::FileDescriptor socket_;
  wire::FrameReader reader_;
};

/// An app that waits for the computer on a TCP port of 127.0.0.1.
class PhoneListener {
 public:
  /// 0: a free port.
  explicit PhoneListener(std::uint16_t port = 0);

  std::uint16_t port() const { return port_; }
  int descriptor() const { return socket_.get(); }
  std::optional<FakePhone> accept();

 private:
  posix::FileDescriptor socket_;
  std::uint16_t port_ = 0;
};

}  // namespace quorin::test
