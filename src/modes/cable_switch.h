#pragma once

namespace quorin::app {

/// Enables connection attempts over the cable. The Wi-Fi mode, the menu and the guard turn it off;
/// only choosing the cable mode turns it on. Main queue.
class CableSwitch {
 public:
  virtual ~CableSwitch() = default;
  CableSwitch(const CableSwitch&) = delete;
  CableSwitch& operator=(const CableSwitch&) = delete;

  /// Enables attempts.
  virtual void turnOn() = 0;

  /// Disables attempts: marks the cable as off, closes a channel to a phone, and suspends the queue
  /// of attempts.
  virtual void turnOff() = 0;

  /// Called when the Wi-Fi page is re-entered after `turnOff`: clears the mark only; attempts still
  /// wait for `turnOn`.
  virtual void clearForcedOffline() = 0;

  /// A phone is connected by cable.
  virtual bool hasChannel() const = 0;

 protected:
  CableSwitch() = default;
};

}  // namespace quorin::app
