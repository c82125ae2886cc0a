#pragma once

#include "ui/texts.h"

#include <QString>
#include <functional>
#include <memory>

class QProcess;

namespace quorin::app {

/// Why a running stream may be silent.
struct SoundElsewhere {
  bool muted = false;  ///< the device is
  QString program{};   ///< plays on `device` while nothing plays on the virtual device
  QString device{};

  bool operator==(const SoundElsewhere&) const = default;
};

/// The virtual device, lent to this program by `quorin-device lend`, a child process. The child
/// restores everything at the end of its input, and so even if this program crashes. Main queue;
/// only the destructor waits.
class DeviceLoan {
 public:
  struct Reports {
    std::function<void()> lent;  ///< also after an audio server restart
    std::function<void(TrKey why)> failed;
    std::function<void()> changed;  ///< a getter's result changed
  };

  DeviceLoan();
  /// Returns the device; waits at most 2 s for it.
  ~DeviceLoan();
  DeviceLoan(const DeviceLoan&) = delete;
  DeviceLoan& operator=(const DeviceLoan&) = delete;

  void setReports(Reports reports) { reports_ = std::move(reports); }

  /// Has the device created if missing and made the default, and moves playing streams to it.
  void lend();

  /// From now on reports `elsewhere`, even while the device is not lent.
  void watch();

  bool isLent() const { return isLent_; }
  const SoundElsewhere& elsewhere() const { return elsewhere_; }

  /// Moves streams that play elsewhere to the device, and unmutes it.
  void moveHere() { command("move"); }

  /// Whether the former default output plays the device's sound as well.
  bool playsHere() const { return playsHere_; }
  void playHere(bool wanted) { command(wanted ? "play-here on" : "play-here off"); }

 private:
  void startHelper(const char* verb);
  void endHelper();
  void command(const char* line);
  void take(const QString& line);
  void onEnded();
  void fail(TrKey why);

  Reports reports_;
  std::unique_ptr<QProcess> helper_;
  bool isLending_ = false;    ///< the helper lends; otherwise it only watches
  bool hasAnswered_ = false;  ///< it lends, or has reported why not
  bool isLent_ = false;
  bool playsHere_ = false;
  SoundElsewhere elsewhere_;
};

}  // namespace quorin::app
