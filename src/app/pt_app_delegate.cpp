#include "app/pt_app_delegate.h"

#include "core/identity.h"
#include "panel/content_view.h"
#include "platform/desktop/settings.h"
#include "core/log.h"
#include "wifi/local_address.h"

#include <QApplication>
#include <utility>

namespace quorin::app {

PTAppDelegate::PTAppDelegate(dispatch::Scheduler& scheduler, const Texts& texts,
                             const Options& options)
    : scheduler_(scheduler),
      texts_(texts),
      startMode_(options.start),
      audioServer_(audio::connectToAudioServer(scheduler_.utilityQueue())),
      views_(window_, texts_, images_, [this] { return makePanel().release(); }),
      screens_(views_, texts_),
      pages_({texts_, images_, views_, screens_}),
      audioCaptureManager_(scheduler_,
                           {.makeEngine = [this] { return audioServer_->makeEngine(); }}),
      audioFrameQueueSerial_(stream::AudioSender::makeQueue(scheduler_)),
      cable_(scheduler_, *audioFrameQueueSerial_,
             {.channelChanged = [this](bool connected) { pages_.showCableChannel(connected); },
              .presentMessage = [this](const QString& text,
                                       bool isStatus) { pages_.presentMessage(text, isStatus); }}),
      sender_(scheduler_, *audioFrameQueueSerial_, {&wifiTransport_, &cable_.audioPath()}),
      sound_(scheduler_, audioCaptureManager_, sender_),
      wifi_(scheduler_,
            {texts_, sound_, sender_, wifiTransport_, cable_, pages_, wifi::lookUpLocalNetworks}),
      menu_(scheduler_, {wifi_, cable_, sound_, pages_}),
      guard_(scheduler_, std::make_shared<AudioInputs>(scheduler_, *audioServer_), pages_) {
  if (options.port) wifi_.setPort(*options.port);
  connectViews();
}

PTAppDelegate::~PTAppDelegate() {
  menu_.stopAllSessions();
  audioFrameQueueSerial_->end();  // nothing is sent any more, and no transport touched
  scheduler_.end();
}

// The panel is built with the page and never shown there: its program of its own shows it. The
// pairing instructions are the one text that it looks up.
std::unique_ptr<QWidget> PTAppDelegate::makePanel() const {
  return panel::OnlineSwiftUIEmbedder::makeHostingView(
      scheduler_, panel::captureFrom(scheduler_, *audioServer_),
      texts_.bundle("pairing_instructions"));
}

void PTAppDelegate::connectViews() {
  const auto onClick = [this](QAbstractButton* button, auto action) {
    QObject::connect(button, &QAbstractButton::clicked, &window_, std::move(action));
  };
  onClick(views_.menuOnlineButton_, [this] { menu_.chooseOnlineMode(); });
  onClick(views_.menuOfflineButton_, [this] { menu_.chooseOfflineMode(); });
  onClick(views_.menuPrivacyButton_, [this] { menu_.openPrivacyTerms(); });
  onClick(views_.backButton_, [this] { menu_.goBack(); });
  onClick(views_.onlineQRButton_, [this] { wifi_.openQRHelp(); });
  onClick(views_.audioGuardOpenSettingsButton_,
          [this] { openSettings(desktop::SettingsPage::kSound); });
  onClick(views_.micDeniedAllowButton_,
          [this] { openSettings(desktop::SettingsPage::kMicrophonePrivacy); });

  QObject::connect(&window_, &MainWindow::resized, &window_, [this] { screens_.layoutUI(); });
  QObject::connect(&window_, &MainWindow::quitRequested, qApp, &QCoreApplication::quit);

  QObject::connect(views_.inputTextField, &TextField::returnPressed, &window_, [this] {
    if (cable_.sendMessage(views_.inputTextField->text())) views_.inputTextField->clear();
  });

  sound_.setOnSilence([this](bool silent) {
    if (wifi_.isOpen()) wifi_.onSilence();
    pages_.showCableSilence(silent && !wifi_.isOpen());
  });

  pages_.setStopAllSessions([this] { menu_.stopAllSessions(); });
  pages_.setMenuShown([this] { enterStartMode(); });
}

void PTAppDelegate::applicationDidFinishLaunching() {
  cable_.start();
  pages_.presentMessage(texts_.tr("status.ready"), true);
  cable_.ping();

  window_.placeInitially();
  screens_.layoutUI();
  window_.show();

  guard_.setupAudioCheckFlow();
  guard_.startAudioDefaultWatch();
  scheduler_.mainQueue().asyncAfter(kSplashDuration, scope_, [this] { dismissSplash(); });
  guard_.requestMicrophonePermission();
}

void PTAppDelegate::dismissSplash() {
  splashFade_.setDuration(static_cast<int>(kSplashFade.count()));
  splashFade_.setStartValue(1.0);
  splashFade_.setEndValue(0.0);
  QObject::connect(
      &splashFade_, &QVariantAnimation::valueChanged, &window_,
      [this](const QVariant& opacity) { views_.setSplashOpacity(opacity.toDouble()); });
  QObject::connect(&splashFade_, &QVariantAnimation::finished, &window_, [this] {
    pages_.showSplashGone();
    guard_.setupAudioCheckFlow();
  });
  splashFade_.start();
}

// Only the first time that the guard lets the person through: afterwards the menu is theirs.
void PTAppDelegate::enterStartMode() {
  switch (std::exchange(startMode_, StartMode::kMenu)) {
    case StartMode::kMenu:
      break;
    case StartMode::kWiFi:
      menu_.chooseOnlineMode();
      break;
    case StartMode::kCable:
      menu_.chooseOfflineMode();
      break;
  }
}

void PTAppDelegate::openSettings(desktop::SettingsPage page) {
  const bool sound = page == desktop::SettingsPage::kSound;
  if (sound ? desktop::openSoundSettings() : desktop::openMicPrivacySettings()) return;
  pages_.showSettingsMissing(page);
}

}  // namespace quorin::app
