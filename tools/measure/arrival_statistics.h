#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

namespace quorin::measure {

using Nanoseconds = std::chrono::nanoseconds;

/// The value below which `fraction` (0 to 1) of `values` lie; 0 when there are none.
double quantile(std::vector<double> values, double fraction);

struct Spread {
  double p50 = 0;
  double p99 = 0;
  double max = 0;
};

/// The spread of the magnitudes.
Spread spreadOf(std::span<const float> values);

/// When the datagrams of one stream arrived, against when their sound was due. Times are those of
/// one clock (the kernel's stamps); 4 bytes are kept for each datagram, 17 MB a day.
class ArrivalStatistics {
 public:
  /// An interval with this much more time than sound: a player that buffers two datagrams falls
  /// silent.
  static constexpr Nanoseconds kGap = std::chrono::milliseconds(40);
  /// What "recent" means: 10 s of a stream without loss.
  static constexpr std::size_t kRecent = 500;

  void add(Nanoseconds arrived, std::size_t frames);

  std::size_t datagrams() const { return datagrams_; }
  std::size_t gaps() const { return gaps_; }
  double soundSeconds() const;

  /// Interval to the datagram before, less that datagram's sound, in ms: 0 is perfect pacing.
  /// One value fewer than datagrams.
  std::span<const float> deviationsMs() const { return deviations_; }
  Spread deviation() const { return spreadOf(deviations_); }
  Spread recentDeviation() const;

  /// The buffer that a receiver needs, in ms: p1 to p99 of the arrival against the sound's own
  /// time, which counts from the first datagram.
  double bufferNeededMs() const;

  /// Sound received for each second that passed; 1 is real time.
  double delivered() const;

 private:
  std::size_t datagrams_ = 0;
  std::size_t gaps_ = 0;
  std::size_t frames_ = 0;
  std::size_t lastFrames_ = 0;
  Nanoseconds first_{0};
  Nanoseconds last_{0};
  std::vector<float> deviations_;
};

}  // namespace quorin::measure
