#pragma once

#include <QString>
#include <functional>
#include <memory>

class QProcess;

namespace quorin::app {

/// Why the device could not be set up.
enum class LoanFailure { kNoServer, kRefused, kHelperMissing, kOther };

/// Why a running stream may carry nothing.
struct SoundElsewhere {
  bool muted = false;  ///< the device is
  QString program{};   ///< plays on `device`, while nothing plays into the virtual one
  QString device{};

  bool operator==(const SoundElsewhere&) const = default;
};

/// The virtual device, lent to this program by `quorin-device lend`, a child process. The child
/// gives everything back at the end of its input, which is the end of this program, however it
/// comes. Main queue; nothing here waits but the destructor.
class DeviceLoan {
 public:
  struct Reports {
    std::function<void()> lent;  ///< also when the audio server had restarted
    std::function<void(LoanFailure)> failed;
    std::function<void()> changed;  ///< one of the getters
  };

  DeviceLoan();
  /// Gives the device back; waits for that, at most 2 s.
  ~DeviceLoan();
  DeviceLoan(const DeviceLoan&) = delete;
  DeviceLoan& operator=(const DeviceLoan&) = delete;

  void setReports(Reports reports) { reports_ = std::move(reports); }

  /// Has the device created where it is missing, made the default, and what plays moved to it.
  void lend();

  /// Reports `elsewhere` from now on, also for a device that is not lent.
  void watch();

  bool isLent() const { return isLent_; }
  const SoundElsewhere& elsewhere() const { return elsewhere_; }

  /// Moves what plays elsewhere to the device, and unmutes it.
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
  void fail(LoanFailure failure);

  Reports reports_;
  std::unique_ptr<QProcess> helper_;
  bool isLending_ = false;    ///< the helper's duty, else it watches only
  bool hasAnswered_ = false;  ///< it lends, or has said why not
  bool isLent_ = false;
  bool playsHere_ = false;
  SoundElsewhere elsewhere_;
};

}  // namespace quorin::app
