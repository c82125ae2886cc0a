#pragma once

#include <cstddef>
#include <deque>
#include <span>

namespace quorin::listen {

/// Between datagrams that come when they come and a sound card that takes when it takes.
///
/// Plays silence until `kPrimed` samples wait, and again after it ran empty; what piles up beyond
/// `kMost` (a burst, or clocks that drift apart) is cut back to `kPrimed`, so that delay cannot
/// creep. Not thread safe.
class JitterBuffer {
 public:
  static constexpr std::size_t kPrimed = 3 * std::size_t{882};  ///< 60 ms
  static constexpr std::size_t kMost = 8 * std::size_t{882};    ///< 160 ms

  void push(std::span<const float> samples);
  /// Fills all of `samples`, with silence where nothing is to be had.
  void pull(std::span<float> samples);

  std::size_t waiting() const { return waiting_.size(); }
  std::size_t timesEmpty() const { return timesEmpty_; }  ///< heard as a drop-out

 private:
  std::deque<float> waiting_;
  bool playing_ = false;
  std::size_t timesEmpty_ = 0;
};

}  // namespace quorin::listen
