#pragma once

#include "app/background.h"
#include "app/options.h"
#include "audio/audio_capture_manager.h"
#include "core/scheduler.h"
#include "modes/audio_inputs.h"
#include "modes/cable_mode.h"
#include "modes/device_loan.h"
#include "modes/guard_flow.h"
#include "modes/menu.h"
#include "modes/sound_path.h"
#include "modes/wifi_mode.h"
#include "platform/audio/audio_server.h"
#include "platform/desktop/look.h"
#include "platform/desktop/single_instance.h"
#include "stream/audio_sender.h"
#include "ui/texts.h"
#include "window/main_window.h"
#include "window/pages.h"
#include "window/screens.h"
#include "window/views.h"

#include <QVariantAnimation>
#include <functional>
#include <memory>

namespace quorin::app {

/// The program: owns all objects, connects them and starts them in order. Main queue.
class PTAppDelegate {
 public:
  static constexpr std::chrono::milliseconds kSplashDuration{1200};
  static constexpr std::chrono::milliseconds kSplashFade{350};

  /// All three outlive the delegate.
  PTAppDelegate(dispatch::Scheduler& scheduler, const Texts& texts, const Options& options);

  /// Ends both modes, then the scheduler's queues.
  ~PTAppDelegate();

  /// Starts up. Call once, just before the event loop.
  void applicationDidFinishLaunching();

  MainWindow& window() { return window_; }

  /// A request from a later start of the program: carries out all of it, or none and answers why.
  void takeOver(const Options& wanted, const QString& activationToken,
                const desktop::SingleInstance::Answer& answer);

  /// Ends the program; asks first while a phone listens.
  void quit();

 private:
  void connectViews();
  void dismissSplash();
  void enterStartMode();
  QString refusalOf(const Options& wanted) const;
  void obey(const Options& wanted, const desktop::SingleInstance::Answer& answer);
  /// Polls `isTrue` for up to 3 s, then calls `then` with the result.
  void waitUntil(const std::function<bool()>& isTrue, const std::function<void(bool)>& then,
                 int checksLeft = 60);
  std::unique_ptr<Background> makeBackground();
  void refreshBackground();
  void showSound();

  dispatch::Scheduler& scheduler_;
  const Texts& texts_;
  StartMode startMode_;
  const bool setUpAtStart_;

  std::unique_ptr<audio::AudioServer> audioServer_;

  MainWindow window_;
  Views views_;
  Screens screens_;
  Pages pages_;
  QVariantAnimation splashFade_;
  std::unique_ptr<QObject> look_;

  audio::AudioCaptureManager audioCaptureManager_;
  std::unique_ptr<dispatch::SerialQueue> audioFrameQueueSerial_;
  wifi::WifiTransport wifiTransport_;
  CableMode cable_;
  stream::AudioSender sender_;
  SoundPath sound_;
  WiFiMode wifi_;
  Menu menu_;
  GuardFlow guard_;
  DeviceLoan loan_;
  std::unique_ptr<Background> background_;  ///< once the splash is gone
  bool backgroundIsStale_ = false;
  dispatch::Scope scope_;
};

}  // namespace quorin::app
