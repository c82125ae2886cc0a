#pragma once

#include "platform/posix/file_descriptor.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quorin::test {

/// Answers on a free port of 127.0.0.1 as a streaming program does, from a thread of its own:
/// READY, the format and then a 440 Hz tone in 50 datagrams a second; or as the server panel does,
/// READY and the tone in floats; or just BUSY.
class StandInServer {
 public:
  enum class Manner { kServes, kServesFloats, kIsFull };

  explicit StandInServer(Manner manner = Manner::kServes);
  ~StandInServer();
  StandInServer(const StandInServer&) = delete;
  StandInServer& operator=(const StandInServer&) = delete;

  std::string address() const;  ///< "127.0.0.1:PORT"

  /// All messages so far, in order. Waits up to 5 s for the last of them to be `last`.
  std::vector<std::string> messages(const std::string& last);

 private:
  void run(const std::stop_token& stop);

  Manner manner_;
  posix::FileDescriptor socket_;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  std::vector<std::string> messages_;
  std::jthread thread_;
};

}  // namespace quorin::test
