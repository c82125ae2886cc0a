#pragma once

#include "measure/arrival_statistics.h"
#include "quorin-listen/client_session.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace quorin::listen {

enum ExitCode { kListened = 0, kFailed = 1, kWrongUsage = 2, kServerFull = 3 };

/// One datagram or frame of sound, valid during the call that hands it over.
struct Sound {
  measure::Nanoseconds arrived;  ///< the kernel's stamp, CLOCK_REALTIME
  std::span<const std::byte> bytes;
};

/// Why a source ended by itself.
struct Ending {
  ExitCode code = kFailed;
  std::string sentence;
};

/// Where the sound comes from. One thread; nothing here blocks.
class SoundSource {
 public:
  virtual ~SoundSource() = default;
  SoundSource(const SoundSource&) = delete;
  SoundSource& operator=(const SoundSource&) = delete;

  /// To be waited for: readable when `serve` has something to do.
  virtual int descriptor() const = 0;
  /// When `serve` has something to do even if nothing came.
  virtual TimePoint nextDeadline() const { return TimePoint::max(); }

  /// Sends what is due, reads what is there and hands over the sound in it.
  virtual void serve(TimePoint now, const std::function<void(const Sound&)>& onSound) = 0;

  virtual bool joined() const = 0;
  virtual std::optional<Ending> ending() const { return std::nullopt; }
  /// What was wrong with the order of the server's answers, as a sentence.
  virtual std::optional<std::string> protocolError() const { return std::nullopt; }

  /// Says goodbye; nothing is served afterwards.
  virtual void leave(TimePoint) {}

 protected:
  SoundSource() = default;
};

}  // namespace quorin::listen
