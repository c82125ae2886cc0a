#include "app/pt_app_delegate.h"

#include "core/identity.h"
#include "panel/content_view.h"
#include "platform/desktop/settings.h"
#include "core/log.h"
#include "wifi/local_address.h"

#include <QApplication>
#include <utility>

namespace quorin::app {
namespace {

std::string_view textKeyOf(LoanFailure failure) {
  switch (failure) {
    case LoanFailure::kNoServer:
      return "audio.guard.setup.no_server";
    case LoanFailure::kRefused:
      return "audio.guard.setup.refused";
    case LoanFailure::kHelperMissing:
      return "audio.guard.setup.missing";
    case LoanFailure::kOther:
      break;
  }
  return "audio.guard.setup.failed";
}

}  // namespace

PTAppDelegate::PTAppDelegate(dispatch::Scheduler& scheduler, const Texts& texts,
                             const Options& options)
    : scheduler_(scheduler),
      texts_(texts),
      startMode_(options.start),
      setUpAtStart_(options.setUp),
      audioServer_(audio::connectToAudioServer(scheduler_.backgroundQueue())),
      views_(window_, texts_, images_, [this] { return makePanel().release(); }),
      screens_(views_),
      pages_({texts_, images_, views_, screens_}),
      audioCaptureManager_(
          scheduler_,
          {.makeEngine = [this] { return audioServer_->makeEngine(audio::mayBeStreamed); }}),
      audioFrameQueueSerial_(stream::AudioSender::makeQueue(scheduler_)),
      cable_(scheduler_, *audioFrameQueueSerial_,
             {.changed = [this](const CableState& state) { pages_.showCable(state); },
              .presentMessage = [this](const QString& text,
                                       bool isStatus) { pages_.presentMessage(text, isStatus); }}),
      sender_(scheduler_, *audioFrameQueueSerial_, {&wifiTransport_, &cable_.audioPath()}),
      sound_(scheduler_, audioCaptureManager_, sender_),
      wifi_(scheduler_, {texts_, sound_, sender_, wifiTransport_, cable_, pages_}),
      menu_(scheduler_, {wifi_, cable_, sound_, pages_}),
      guard_(scheduler_, std::make_shared<AudioInputs>(scheduler_, *audioServer_), pages_) {
  if (options.port) wifi_.setPort(QString::number(*options.port));
  if (options.address) wifi_.chooseNetwork(*options.address);
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
  onClick(views_.onlineRetryButton_, [this] { wifi_.retry(); });
  onClick(views_.onlineOtherPortButton_, [this] { wifi_.useOtherPort(); });
  onClick(views_.audioGuardOpenSettingsButton_, [this] {
    using enum desktop::SettingsPage;
    openSettings(guard_.state().output.right ? kSoundInput : kSound);
  });
  onClick(views_.micDeniedAllowButton_,
          [this] { openSettings(desktop::SettingsPage::kMicrophonePrivacy); });

  QObject::connect(views_.onlineAddressView_, &AddressView::networkChosen, &window_,
                   [this](const QString& address) { wifi_.chooseNetwork(address); });
  for (const PhoneDot* dot : views_.onlineStatusDots_) {
    QObject::connect(dot, &PhoneDot::disconnectRequested, &window_,
                     [this](const QString& endpoint) { wifi_.disconnectPhone(endpoint); });
  }

  QObject::connect(&window_, &MainWindow::resized, &window_, [this] { screens_.layoutUI(); });
  QObject::connect(&window_, &MainWindow::quitRequested, qApp, &QCoreApplication::quit);

  QObject::connect(views_.inputTextField, &QLineEdit::returnPressed, &window_, [this] {
    if (cable_.sendMessage(views_.inputTextField->text())) views_.inputTextField->clear();
  });

  onClick(views_.audioGuardSetUpButton_, [this] { guard_.setUp(); });
  onClick(views_.silenceMoveButton_, [this] { loan_.moveHere(); });
  onClick(views_.playHereBox_, [this] { loan_.playHere(views_.playHereBox_->isChecked()); });
  views_.levelMeter_->setSource([this] { return sound_.takePeak(); });

  // Who else plays where is looked at when it matters.
  sound_.setOnSilence([this](bool silent) {
    if (silent) loan_.watch();
    showSound();
  });
  pages_.setLendDevice([this] { loan_.lend(); });
  loan_.setReports(
      {.lent = [this] { guard_.onSetUp(); },
       .failed = [this](LoanFailure failure) { guard_.onSetUpFailed(textKeyOf(failure)); },
       .changed = [this] { showSound(); }});

  pages_.setStopAllSessions([this] { menu_.stopAllSessions(); });
  pages_.setMenuShown([this] { enterStartMode(); });
}

void PTAppDelegate::showSound() {
  pages_.showSound({.silent = sound_.isSilent(),
                    .elsewhere = loan_.elsewhere(),
                    .lent = loan_.isLent(),
                    .playsHere = loan_.playsHere()});
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
  if (setUpAtStart_) guard_.setUp();
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
  if (desktop::openSettings(page)) return;
  pages_.showSettingsMissing(page);
}

}  // namespace quorin::app
