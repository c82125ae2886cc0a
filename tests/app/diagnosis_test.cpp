#include "app/diagnosis.h"

#include "ui/texts.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <functional>

namespace quorin::app {
namespace {

using ::testing::HasSubstr;

Facts rightFacts() {
  const audio::Device quorin{.number = 1, .name = "Quorin Audio", .format = {}};
  return {.devices = {.output = quorin,
                      .input = quorin,
                      .server = "pulseaudio 16.1",
                      .outputs = {"Speaker", "Quorin Audio"},
                      .inputs = {"Quorin Audio"}},
          .microphone = desktop::AuthorizationStatus::kAuthorized,
          .addresses = {{"eth0", "192.168.1.20", true, true}},
          .chosenAddress = "192.168.1.20",
          .port = 9000,
          .portError = {},
          .portHolder = {},
          .cable = {.service = usb::UsbService::kRunning, .phones = 1},
          .realtime = dispatch::RealtimeGrant::kRtkit};
}

TEST(Diagnosis, HasNothingToAdviseWhenAllIsRight) {
  const auto findings = diagnose(rightFacts(), Texts({"en"}));
  EXPECT_TRUE(wouldStream(findings));
  for (const auto& finding : findings) EXPECT_EQ(finding.advice, "") << finding.name.toStdString();
}

TEST(Diagnosis, AdvisesOnWhatIsWrongAndSaysWhetherItMatters) {
  struct Case {
    const char* name;
    std::function<void(Facts&)> spoil;
    bool streams;
    const char* found;
    const char* advice;
  };
  const auto heldBy = [](const network::PortHolder& holder) {
    return [holder](Facts& f) {
      f.portError = make_error_code(std::errc::address_in_use);
      f.portHolder = holder;
    };
  };
  const Case cases[] = {
      {"sound server", [](Facts& f) { f.devices = {}; }, false, "none", "Start PulseAudio"},
      {"virtual device", [](Facts& f) { f.devices.inputs = {"Microphone"}; }, true, "output only",
       "Set up for me"},
      {"default output", [](Facts& f) { f.devices.output.name = "Speaker"; }, false, "Speaker",
       "default output"},
      {"default input", [](Facts& f) { f.devices.input = {}; }, false, "none", "--set-up"},
      {"microphone", [](Facts& f) { f.microphone = desktop::AuthorizationStatus::kRestricted; },
       false, "not allowed", "privacy settings"},
      {"microphone", [](Facts& f) { f.microphone = desktop::AuthorizationStatus::kNotDetermined; },
       false, "not answered", "Answer the desktop"},
      {"address",
       [](Facts& f) {
         f.chosenAddress.reset();
         f.addresses = {{"tun0", "10.8.0.2", true, true},
                        {"eth0", "10.0.0.2", true, false},
                        {"wlan0", "10.0.0.3", false, false}};
       },
       false, "none of tun0 10.8.0.2, eth0 10.0.0.2 (no carrier), wlan0 10.0.0.3 (off)",
       "Connect this computer"},
      {"port", heldBy({.program = "python3", .user = "ana", .isOwnUser = true}), false,
       "9000: in use by python3 of user ana", "--port"},
      {"port", heldBy({.program = "quorin-stream", .user = "ana"}), false,
       "9000: in use by quorin-stream of user ana", "--port"},
      {"port", heldBy({.program = "quorin-stream", .user = "me", .isOwnUser = true, .peers = 2}),
       true, "9000: in use by the running Quorin Stream (2 phones)", ""},
      {"port", [](Facts& f) { f.portError = make_error_code(std::errc::permission_denied); }, false,
       "9000: Permission denied", "above 1023"},
      {"USB service",
       [](Facts& f) {
         f.cable = {.service = usb::UsbService::kMissing, .remedy = {.command = "x"}};
       },
       true, "not installed", "Only the cable needs it. The USB"},
      {"USB service", [](Facts& f) { f.cable.answer = usb::PhoneAnswer::kLocked; }, true,
       "phones: 1", "Trust"},
      {"real-time priority", [](Facts& f) { f.realtime = dispatch::RealtimeGrant::kNone; }, true,
       "", "rtkit"},
  };
  for (const auto& wrong : cases) {
    SCOPED_TRACE(wrong.name);
    auto facts = rightFacts();
    wrong.spoil(facts);
    const auto findings = diagnose(facts, Texts({"en"}));
    EXPECT_EQ(wouldStream(findings), wrong.streams);
    const auto finding = std::ranges::find(findings, QString(wrong.name), &Finding::name);
    ASSERT_NE(finding, findings.end());
    EXPECT_THAT(finding->found.toStdString(), HasSubstr(wrong.found));
    EXPECT_THAT(finding->advice.toStdString(), HasSubstr(wrong.advice));
    EXPECT_THAT(asText(findings).toStdString(), HasSubstr(wrong.advice));
    const auto json = QJsonDocument::fromJson(asJson(findings)).object();
    EXPECT_EQ(json["would_stream"].toBool(), wrong.streams);

    Texts spanish({"es"});
    QCoreApplication::installTranslator(&spanish.translator());
    const auto inSpanish =
        diagnose(facts, spanish)
            .at(static_cast<std::size_t>(std::distance(findings.begin(), finding)));
    QCoreApplication::removeTranslator(&spanish.translator());
    EXPECT_NE(inSpanish.name, finding->name);
    EXPECT_TRUE(finding->advice.isEmpty() || inSpanish.advice != finding->advice);
  }
}

}  // namespace
}  // namespace quorin::app
