#pragma once

namespace quorin::app {

/// Whether the cable may be tried. The other mode, the menu and the guard turn it off; only the
/// choice of the cable mode turns it on. Main queue.
class CableSwitch {
 public:
  virtual ~CableSwitch() = default;
  CableSwitch(const CableSwitch&) = delete;
  CableSwitch& operator=(const CableSwitch&) = delete;

  /// Attempts run from now on.
  virtual void turnOn() = 0;

  /// No attempt from now on: marks the cable as off, closes a channel to a phone, and suspends
  /// the queue of attempts.
  virtual void turnOff() = 0;

  /// After `turnOff`, when the Wi-Fi page has been re-entered: clears the mark alone; attempts
  /// still wait for `turnOn`.
  virtual void clearForcedOffline() = 0;

  /// A phone is connected by cable.
  virtual bool hasChannel() const = 0;

 protected:
  CableSwitch() = default;
};

}  // namespace quorin::app
