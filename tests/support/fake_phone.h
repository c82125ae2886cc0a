#pragma once

#include "platform/posix/file_descriptor.h"
#include "support/bytes.h"
#include "wire/frame_reader.h"

#include <cstdint>
#include <filesystem>
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

/// An app that waits for the computer where the cable looks for it on this machine.
class PhoneListener {
 public:
  explicit PhoneListener(std::uint16_t port) : socket_(listenAt(port)) {}

  std::optional<FakePhone> accept() {
    auto connection = acceptFrom(socket_);
    return connection ? std::optional<FakePhone>(std::move(connection)) : std::nullopt;
  }

 private:
  posix::FileDescriptor socket_;
};

}  // namespace quorin::test
