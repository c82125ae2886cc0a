#include "support/eventually.h"
#include "support/temporary_directory.h"
#include "whole/whole_test.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

/// The programs themselves, run as a user runs them.
namespace quorin::whole {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Programs : public WholeTest {
 protected:
  test::ChildProcess launch(const std::string& program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), test::builtPrograms() + "/" + program);
    std::filesystem::remove(output(program));
    return test::ChildProcess({.arguments = std::move(arguments),
                               .environment = server_->environment(),
                               .output = output(program)});
  }
  std::filesystem::path output(const std::string& program) const {
    return folder_.path() / (program + ".txt");
  }
  std::string said(const std::string& program) const { return test::contentOf(output(program)); }
  static bool isServed() {
    return test::eventually([] { return holdings().udpSockets == 1; });
  }

  /// Of the exit status `expectedExit`, and with this in it.
  void expectDiagnosis(int expectedExit, const std::string& text) {
    EXPECT_EQ(launch("quorin-stream", {"--diagnose", "--port", kPort}).wait(), expectedExit);
    EXPECT_THAT(said("quorin-stream"), HasSubstr(text));
  }

  const std::string kPort = std::to_string(Phone::kServerPort);
  test::TemporaryDirectory folder_;
};

TEST_P(Programs, DiagnoseTellsWhatIsInTheWay) {
  expectDiagnosis(0, "10.11.0.2");
  useDevice("speaker");
  expectDiagnosis(1, "Speaker");
  useDevice("quorin");
  ip("address flush dev eth0");
  expectDiagnosis(1, "Connect this computer");
  ip("address add 10.11.0.2/24 dev eth0");

  const auto holder = launch("quorin-stream", {"--start", "wifi", "--port", kPort});
  ASSERT_TRUE(isServed());
  expectDiagnosis(0, "in use by the running Quorin Stream");
}

TEST_P(Programs, StreamAndListenWorkTogetherAndASignalEndsThem) {
  for (const int signal : {SIGINT, SIGTERM}) {
    auto program = launch("quorin-stream", {"--start", "wifi", "--port", kPort});
    ASSERT_TRUE(isServed());
    auto listener = launch("quorin-listen", {"10.11.0.2:" + kPort, "--seconds", "1", "--json"});
    EXPECT_EQ(listener.wait(), 0) << said("quorin-listen");
    EXPECT_THAT(said("quorin-listen"), HasSubstr("\"gaps\""));

    ::kill(program.pid(), signal);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(server_->recordings(), 0);
    EXPECT_EQ(holdings().udpSockets, 0U);
  }
}

TEST_P(Programs, ALaterStartHandsOverToTheRunningOneAndSaysWhatCouldNotBeDone) {
  auto program = launch("quorin-stream", {"--start", "wifi", "--port", kPort, "--language", "en"});
  ASSERT_TRUE(isServed());
  EXPECT_EQ(launch("quorin-stream", {"--port", "9001"}).wait(), 0);
  EXPECT_EQ(holdings().udpSockets, 0U) << "it has moved";
  EXPECT_EQ(launch("quorin-stream", {"--port", kPort}).wait(), 0);
  EXPECT_EQ(launch("quorin-stream", {"--start", "cable", "--address", "10.99.0.1"}).wait(), 1);
  EXPECT_EQ(holdings().udpSockets, 1U) << "nothing is done where not all can be";
  Phone phone("10.11.0.2");
  EXPECT_TRUE(test::eventually([&] {
    phone.says("<<HELLO>>");
    phone.turn();
    return !phone.messages.empty();
  }));
  struct Case {
    std::vector<std::string> options;
    int exit;
    std::string says;
  };
  for (const auto& [options, exit, says] :
       {Case{{}, 0, ""}, Case{{"--start", "wifi", "--set-up", "--language", "en"}, 0, ""},
        Case{{"--port", "9001"}, 1, "stop the stream"}, Case{{"--start", "cable"}, 1, "stop the"},
        Case{{"--language", "es"}, 1, "quit it first"},
        Case{{"--address", "10.99.0.1"}, 1, "Its addresses: 10.11.0.2"}}) {
    EXPECT_EQ(launch("quorin-stream", options).wait(), exit) << testing::PrintToString(options);
    EXPECT_THAT(said("quorin-stream"), HasSubstr(says));
  }
  program.kill();
  program = launch("quorin-stream", {"--start", "wifi", "--port", kPort});
  EXPECT_TRUE(isServed());
  EXPECT_EQ(launch("quorin-stream", {}).wait(), 0) << "the socket of a killed one is replaced";
  useDevice("speaker");
  EXPECT_TRUE(test::eventually([] { return holdings().udpSockets == 0; }));
  EXPECT_EQ(launch("quorin-stream", {"--set-up", "--start", "wifi", "--port", kPort}).wait(), 0);
  EXPECT_EQ(holdings().udpSockets, 1U) << "it answers once it streams";
}

TEST_P(Programs, SaySoWhereThereIsNoDisplay) {
  for (const std::string program : {"quorin-stream", "quorin-panel"}) {
    for (const auto& [platform, advice] :
         {std::pair<std::string, std::string>("xcb", "start it on a desktop"),
          {"wayland", ""},
          {"wayland-missing", "it needs the package qt6-wayland"}}) {
      test::ChildProcess displayless(
          {.arguments = {test::builtPrograms() + "/" + program},
           .environment = {"QT_QPA_PLATFORM=" + platform, "DISPLAY=:4711",
                           "WAYLAND_DISPLAY=nowhere", "XDG_RUNTIME_DIR=" + folder_.path().string()},
           .output = output(program)});
      EXPECT_EQ(displayless.wait(), 1) << program << " on " << platform;
      EXPECT_THAT(said(program), AllOf(HasSubstr(": There is no display here"), HasSubstr(advice)));
    }
  }
}

TEST_P(Programs, OptionsThatAreNotUnderstoodEndThemWithTwo) {
  struct Case {
    std::string program;
    std::vector<std::string> arguments;
  };
  for (const auto& [program, arguments] :
       {Case{"quorin-stream", {"--port", "70000"}}, Case{"quorin-panel", {"--port", "65536"}},
        Case{"quorin-panel", {"9000"}}}) {
    EXPECT_EQ(launch(program, arguments).wait(), 2) << program << ' ' << arguments.front();
    EXPECT_THAT(said(program), testing::EndsWith("Try " + program + " --help.\n"));
  }
}

INSTANTIATE_TEST_SUITE_P(On, Programs, kPulseAudioAlone, serverName);

}  // namespace
}  // namespace quorin::whole
