#include "app/pt_app_delegate.h"

#include "core/identity.h"
#include "core/log.h"
#include "panel/content_view.h"
#include "platform/desktop/settings.h"
#include "platform/network/udp_ports.h"
#include "ui/appearance.h"
#include "wifi/local_address.h"
#include "window/help.h"

#include <QCoreApplication>
#include <utility>

namespace quorin::app {
namespace {

constexpr std::chrono::milliseconds kCheckInterval{50};

QString notYetRight() {
  return qtTrId("The sound devices are not right yet; it starts when they are.");
}

/// Empty if this computer has `address` now.
QString refusalOfNetwork(const QString& address) {
  QStringList all;
  for (const auto& candidate : wifi::lookUpLocalNetworks().candidates) {
    all << QString::fromStdString(candidate.address);
  }
  if (all.contains(address)) return {};
  return qtTrId("This computer has no network with %1 now. Its addresses: %2.")
      .arg(address, all.isEmpty() ? qtTrId("none") : all.join(", "));
}

}  // namespace

PTAppDelegate::PTAppDelegate(dispatch::Scheduler& scheduler, const Texts& texts,
                             const Options& options)
    : scheduler_(scheduler),
      texts_(texts),
      startMode_(options.start),
      setUpAtStart_(options.setUp),
      audioServer_(audio::connectToAudioServer(scheduler_.backgroundQueue())),
      // The panel is built with the page but never shown there; `quorin-panel` shows it. The
      // pairing instructions are its only translated text.
      views_(window_.content(), texts_,
             panel::OnlineSwiftUIEmbedder::makeHostingView(
                 scheduler_,
                 {.makeEngine = [this] { return audioServer_->makeEngine(audio::mayBeStreamed); }},
                 texts_.tr("pairing_instructions"))),
      screens_(views_),
      pages_(texts_, views_, screens_),
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
  if (options.address) {
    if (const auto refusal = refusalOfNetwork(*options.address); !refusal.isEmpty()) {
      log::note("wifi", refusal.toStdString());
    }
    wifi_.chooseNetwork(*options.address);
  }
  connectViews();
}

PTAppDelegate::~PTAppDelegate() {
  menu_.stopAllSessions();
  audioFrameQueueSerial_->end();  // stops sending; no transport is used afterwards
  scheduler_.end();
}

void PTAppDelegate::connectViews() {
  const auto on = [this](const auto* sender, auto signal, auto action) {
    QObject::connect(sender, signal, &window_, std::move(action));
  };
  const auto onClick = [&on](const QAbstractButton* button, auto action) {
    on(button, &QAbstractButton::clicked, std::move(action));
  };
  const auto openSettings = [this](desktop::SettingsPage page) {
    if (!desktop::openSettings(page)) showSettingsHelp(texts_, page, &window_);
  };
  onClick(views_.menuOnlineButton_, [this] { menu_.chooseOnlineMode(); });
  onClick(views_.menuOfflineButton_, [this] { menu_.chooseOfflineMode(); });
  onClick(views_.menuPrivacyButton_, [this] { showPrivacyTerms(texts_, &window_); });
  onClick(views_.backButton_, [this] { menu_.goBack(); });
  onClick(views_.onlineQRButton_, [this] { wifi_.openQRHelp(); });
  onClick(views_.onlineRetryButton_, [this] { wifi_.retry(); });
  onClick(views_.onlineOtherPortButton_, [this] { wifi_.useOtherPort(); });
  onClick(views_.audioGuardOpenSettingsButton_, [this, openSettings] {
    using enum desktop::SettingsPage;
    openSettings(guard_.state().output.right ? kSoundInput : kSound);
  });
  onClick(views_.micDeniedAllowButton_,
          [openSettings] { openSettings(desktop::SettingsPage::kMicrophonePrivacy); });

  on(views_.onlineAddressView_, &AddressView::networkChosen,
     [this](const QString& address) { wifi_.chooseNetwork(address); });
  for (const PhoneDot* dot : views_.onlineStatusDots_) {
    on(dot, &PhoneDot::disconnectRequested,
       [this](const QString& endpoint) { wifi_.disconnectPhone(endpoint); });
  }
  on(&window_, &MainWindow::resized, [this] { screens_.layoutUI(); });
  on(&window_, &MainWindow::helpRequested, [this] { showHelp(texts_, wifi_.port(), &window_); });
  on(&window_, &MainWindow::quitRequested, [this] { quit(); });
  on(&window_, &MainWindow::visibilityChanged, [this] { refreshBackground(); });
  screens_.setOnUpdate([this] { refreshBackground(); });
  on(views_.inputTextField, &QLineEdit::returnPressed, [this] {
    if (cable_.sendMessage(views_.inputTextField->text())) views_.inputTextField->clear();
  });

  onClick(views_.audioGuardSetUpButton_, [this] { guard_.setUp(); });
  onClick(views_.silenceMoveButton_, [this] { loan_.moveHere(); });
  onClick(views_.playHereBox_, [this] { loan_.playHere(views_.playHereBox_->isChecked()); });
  views_.levelMeter_->setSource([this] { return sound_.takePeak(); });

  // Other programs' playback is only watched during silence.
  sound_.setOnSilence([this](bool silent) {
    if (silent) loan_.watch();
    showSound();
  });
  loan_.setReports({.lent = [this] { guard_.onSetUp(); },
                    .failed = [this](TrKey why) { guard_.onSetUpFailed(why.name()); },
                    .changed = [this] { showSound(); }});

  pages_.setCallbacks({.stopAllSessions = [this] { menu_.stopAllSessions(); },
                       .lendDevice = [this] { loan_.lend(); },
                       .menuShown = [this] { enterStartMode(); }});
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
    background_ = makeBackground();
    pages_.showSplashGone();
    look_ = desktop::watchLook([this](const desktop::Look& look) {
      setHighContrast(look.highContrast);
      screens_.setTextScale(look.textScale);
    });
    guard_.setupAudioCheckFlow();
  });
  splashFade_.start();
}

// Only the first time that the guard passes; afterwards the user chooses from the menu.
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

void PTAppDelegate::quit() {
  // `QCoreApplication::quit` would first close the window and notify that the stream continues.
  menu_.askToStop([] { QCoreApplication::exit(); });
}

/// Empty if the whole request can be carried out.
QString PTAppDelegate::refusalOf(const Options& wanted) const {
  const bool isWiFi = wanted.start == StartMode::kWiFi;
  const bool isOther =
      isWiFi ? cable_.hasChannel() : wanted.start == StartMode::kCable && wifi_.clientCount() > 0;
  const bool isOtherPort = wanted.port && QString::number(*wanted.port) != wifi_.port();
  if (isOther || (isOtherPort && wifi_.clientCount() > 0)) {
    return qtTrId("Phones listen to the running program; stop the stream there first.");
  }
  if (isOtherPort) {
    if (const auto error = network::bindUdpPort(*wanted.port)) {
      return qtTrId("Port %1 cannot be used: %2.")
          .arg(*wanted.port)
          .arg(QString::fromStdString(error.message()));
    }
  }
  return wanted.address ? refusalOfNetwork(*wanted.address) : QString();
}

void PTAppDelegate::takeOver(const Options& wanted, const QString& activationToken,
                             const desktop::SingleInstance::Answer& answer) {
  // Even for a refusal: a start from a launcher would not show it.
  window_.bringToFront(activationToken);
  if (const auto refusal = refusalOf(wanted); !refusal.isEmpty()) return answer(refusal);
  if (!wanted.setUp) return obey(wanted, answer);
  guard_.setUp();
  waitUntil([this] { return !guard_.state().settingUp; },
            [this, wanted, answer](bool) {
              const auto failure = TrKey::find(guard_.state().setUpFailureKey);
              failure ? answer(texts_.tr(*failure)) : obey(wanted, answer);
            });
}

void PTAppDelegate::obey(const Options& wanted, const desktop::SingleInstance::Answer& answer) {
  const auto port = wanted.port ? QString::number(*wanted.port) : wifi_.port();
  if (port != wifi_.port()) wifi_.setPort(port);
  if (wanted.address) wifi_.chooseNetwork(*wanted.address);
  if (wanted.start != StartMode::kMenu) startMode_ = wanted.start;
  if (pageIsInFront(screens_.state())) enterStartMode();
  // The switch to the mode is posted, and the guard may have to pass first.
  waitUntil(
      [this, wanted] { return wanted.start == StartMode::kMenu || startMode_ == StartMode::kMenu; },
      [this, wanted, answer](bool isEntered) {
        const auto& page = wifi_.page();
        const bool isAsked = wanted.port || wanted.start == StartMode::kWiFi;
        const bool fails = isAsked && wifi_.isOpen() && page.content == WiFiPage::Content::kProblem;
        answer(!isEntered ? notYetRight() : fails ? page.title : QString());
      });
}

void PTAppDelegate::waitUntil(const std::function<bool()>& isTrue,
                              const std::function<void(bool)>& then, int checksLeft) {
  scheduler_.mainQueue().asyncAfter(kCheckInterval, scope_, [=, this] {
    const bool isDone = isTrue();
    if (!isDone && checksLeft > 0) return waitUntil(isTrue, then, checksLeft - 1);
    // Behind what has been posted meanwhile: timers overtake it.
    scheduler_.mainQueue().async(scope_, [then, isDone] { then(isDone); });
  });
}

std::unique_ptr<Background> PTAppDelegate::makeBackground() {
  // In front of other windows if it is about to ask.
  const auto showIfAsked = [this](const QString& token) {
    if (menu_.listeners() > 0) window_.bringToFront(token);
  };
  const auto show = [this](const QString& token) { window_.bringToFront(token); };
  const auto quitAsking = [this, showIfAsked](const QString& token) {
    showIfAsked(token);
    quit();
  };
  const auto stop = [this, showIfAsked] {
    showIfAsked({});
    menu_.goBack();
  };
  return std::make_unique<Background>(
      scheduler_.backgroundQueue(), texts_,
      Background::Actions{show, quitAsking, stop, [this](bool on) { loan_.playHere(on); }});
}

// Posted, so that several changes are shown as one.
void PTAppDelegate::refreshBackground() {
  if (!background_ || std::exchange(backgroundIsStale_, true)) return;
  scheduler_.mainQueue().async(scope_, [this] {
    backgroundIsStale_ = false;
    const auto& screen = screens_.state();
    const auto& page = wifi_.page();
    const bool isWifi = screen.page == Page::kWifi;
    background_->update(
        {.windowShown = window_.isVisible(),
         .streaming = pageIsInFront(screen) && (isWifi || screen.page == Page::kCable),
         .listeners = menu_.listeners(),
         .blocked = screen.microphoneDenied ? std::optional(TrKey("notice.stopped.microphone"))
                    : screen.guard          ? std::optional(TrKey("notice.stopped.info"))
                                            : std::nullopt,
         .problem = isWifi && page.content == WiFiPage::Content::kProblem ? page.title : QString(),
         .lent = loan_.isLent(),
         .playsHere = loan_.playsHere()});
  });
}

}  // namespace quorin::app
