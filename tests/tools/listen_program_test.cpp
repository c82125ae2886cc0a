#include "measure/tone_analysis.h"
#include "measure/wav_file.h"
#include "support/eventually.h"
#include "support/fake_phone.h"
#include "tools/stand_in_server.h"
#include "usb/cable_frames.h"
#include "usb/device_information.h"
#include "wire/audio_chunk.h"
#include "wire/client_key.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace quorin {
namespace {

using test::StandInServer;
using testing::ElementsAre;
using testing::HasSubstr;

/// The real quorin-listen, run to its end, against a stand-in for the program it listens to.
class QuorinListen : public testing::Test {
 protected:
  QuorinListen() {
    std::string pattern = testing::TempDir() + "quorin-listen-XXXXXX";
    folder_ = ::mkdtemp(pattern.data());
  }
  ~QuorinListen() override {
    if (process_ > 0) ::kill(process_, SIGKILL);
    std::filesystem::remove_all(folder_);
  }

  std::string path(const char* name) const { return folder_ / name; }

  void start(std::vector<std::string> arguments) {
    const std::string program = std::string(std::getenv("QUORIN_BIN")) + "/quorin-listen";
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    for (const int stream : {1, 2}) {
      ::posix_spawn_file_actions_addopen(&files, stream, path(stream == 1 ? "out" : "err").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
    }
    ASSERT_EQ(::posix_spawn(&process_, program.c_str(), &files, nullptr, argv.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&files);
  }

  int exitCode() {
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int run(std::vector<std::string> arguments) {
    start(std::move(arguments));
    return exitCode();
  }

  std::string said(const char* stream) const {
    std::ifstream file(path(stream));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }

  std::filesystem::path folder_;
  pid_t process_ = 0;
};

TEST_F(QuorinListen, RecordsMeasuresAndDrawsWhatItHears) {
  StandInServer server;
  ASSERT_EQ(run({server.address(), "--seconds", "1.5", "--json", "--wav", path("a.wav"), "--plot",
                 path("a.png"), "--arrivals", path("a.txt")}),
            0)
      << said("err");
  EXPECT_THAT(server.messages("<<STOP>>"), ElementsAre("<<HELLO>>", "<<STOP>>"));

  const auto json = QJsonDocument::fromJson(QByteArray::fromStdString(said("out"))).object();
  const int datagrams = json["datagrams"].toInt();
  EXPECT_GE(datagrams, 60);
  EXPECT_LE(datagrams, 80);
  EXPECT_NEAR(json["frequency_hz"].toDouble(), 440, 0.1);
  EXPECT_NEAR(json["level_db"]["rms"].toDouble(), -9.03, 0.05);

  const auto samples = measure::readWav(path("a.wav")).value();
  EXPECT_EQ(samples.size(), static_cast<std::size_t>(datagrams) * 882);
  EXPECT_THAT(measure::cutsIn(samples), ElementsAre());

  std::ifstream arrivals(path("a.txt"));
  EXPECT_EQ(std::count(std::istreambuf_iterator<char>(arrivals), {}, '\n'), datagrams);
  EXPECT_FALSE(QImage(QString::fromStdString(path("a.png"))).isNull());
}

TEST_F(QuorinListen, TakesThePanelsFloats) {
  StandInServer server(StandInServer::Manner::kServesFloats);
  ASSERT_EQ(run({server.address(), "--seconds", "0.5", "--json", "--wav", path("f.wav")}), 0)
      << said("err");
  const auto json = QJsonDocument::fromJson(QByteArray::fromStdString(said("out"))).object();
  EXPECT_NEAR(json["frequency_hz"].toDouble(), 440, 0.1);
  EXPECT_NEAR(json["level_db"]["rms"].toDouble(), -9.03, 0.05);
  const auto datagrams = static_cast<std::size_t>(json["datagrams"].toInt());
  EXPECT_EQ(measure::readWav(path("f.wav")).value().size(), datagrams * 882);
}

posix::FileDescriptor connectTo(std::uint16_t port) {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = wire::ClientKey{.address = INADDR_LOOPBACK, .port = port}.socketAddress();
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  const bool connected =
      test::eventually([&] { return ::connect(socket.get(), generic, sizeof address) == 0; });
  EXPECT_TRUE(connected);
  return socket;
}

TEST_F(QuorinListen, IsThePhoneAtTheEndOfTheCable) {
  constexpr std::uint16_t kPort = 23456;
  start({"--cable", "--port", std::to_string(kPort), "--json", "--wav", path("c.wav")});
  const auto type = [](usb::CableFrame frame) { return static_cast<std::uint32_t>(frame); };
  std::vector<float> chunk(wire::kChunkFrames, 0.25F);
  const auto bytes = std::as_bytes(std::span(chunk));
  for (int channel = 0; channel < 2; ++channel) {  // after one the next is welcome
    test::FakePhone computer(connectTo(kPort));
    const auto isAnswered = [&](std::size_t frames) {
      return test::eventually([&] {
        computer.turn();
        return computer.frames.size() >= frames;
      });
    };
    ASSERT_TRUE(isAnswered(1)) << said("err");
    EXPECT_EQ(computer.frames[0].type, type(usb::CableFrame::kDeviceInformation));
    EXPECT_TRUE(usb::describeDeviceInformation(computer.frames[0].payload));

    for (int i = 0; i < 10; ++i)
      computer.send(type(usb::CableFrame::kAudio), 0, {bytes.begin(), bytes.end()});
    computer.send(type(usb::CableFrame::kText), 0, usb::encodeText("hola"));
    computer.send(type(usb::CableFrame::kPing), 77, {});
    ASSERT_TRUE(isAnswered(2));
    EXPECT_EQ(computer.frames[1], (test::SentFrame{type(usb::CableFrame::kPong), 77, {}}));
  }
  ::kill(process_, SIGINT);
  EXPECT_EQ(exitCode(), 0);
  EXPECT_THAT(said("err"), HasSubstr("the computer writes: hola"));
  EXPECT_EQ(measure::readWav(path("c.wav")).value().size(), 20 * wire::kChunkFrames);
}

TEST_F(QuorinListen, EndsProperlyOnASignal) {
  for (const int signal : {SIGINT, SIGTERM}) {
    StandInServer server;
    start({server.address(), "--wav", path("b.wav")});
    server.messages("<<HELLO>>");
    ::kill(process_, signal);
    EXPECT_EQ(exitCode(), 0);
    EXPECT_EQ(server.messages("<<STOP>>").back(), "<<STOP>>");
    EXPECT_THAT(said("out"), HasSubstr("received "));
    EXPECT_TRUE(measure::readWav(path("b.wav")));
  }
}

TEST_F(QuorinListen, SaysWhatToCheckWhenNobodyAnswers) {
  EXPECT_EQ(run({"127.0.0.1:9", "--seconds", "1"}), 1);
  EXPECT_THAT(said("err"), HasSubstr("No answer from 127.0.0.1:9 for 3 s: check the address"));
  EXPECT_EQ(said("out"), "");
}

TEST_F(QuorinListen, HasAnExitCodeForAFullServer) {
  StandInServer server(StandInServer::Manner::kIsFull);
  EXPECT_EQ(run({server.address()}), 3);
  EXPECT_THAT(said("err"), HasSubstr(server.address() + " already serves as many"));
}

TEST_F(QuorinListen, RefusesWrongUsageAndWrongPlaces) {
  EXPECT_EQ(run({"somewhere"}), 2);
  EXPECT_EQ(run({"127.0.0.1:9", "--wav", path("none/a.wav")}), 1);
  EXPECT_THAT(said("err"), HasSubstr("Cannot write " + path("none/a.wav")));
  EXPECT_EQ(run({"--help"}), 0);
  EXPECT_THAT(said("out"), HasSubstr("--seconds N"));
}

}  // namespace
}  // namespace quorin
