#include "measure/wav_file.h"
#include "support/child_process.h"
#include "support/eventually.h"
#include "support/temporary_directory.h"
#include "support/udp_peer.h"
#include "wire/audio_chunk.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

namespace quorin {
namespace {

using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;

/// The real quorin-listen, run to its end.
class QuorinListen : public testing::Test {
 protected:
  std::string path(const char* name) const { return folder_.path() / name; }

  void start(const std::vector<std::string>& arguments) {
    const std::string program = test::builtPrograms() + "/quorin-listen";
    std::vector<std::string> words = {"sh", "-c", "exec \"$0\" \"$@\" 2>" + path("err"), program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::filesystem::remove(path("out"));
    process_ = test::ChildProcess({.arguments = words, .environment = {}, .output = path("out")});
  }
  std::string said(const char* stream) const { return test::contentOf(path(stream)); }

  /// The program that is listened to hears this message, maybe after others.
  bool isTold(std::string_view message) {
    auto heard = server_.hears();
    while (heard && heard != message) heard = server_.hears();
    return heard.has_value();
  }

  test::UdpPeer server_;
  test::TemporaryDirectory folder_;
  test::ChildProcess process_;
};

TEST_F(QuorinListen, RecordsMeasuresAndDrawsWhatItHears) {
  constexpr int kDatagrams = 20;
  std::vector<float> tone;
  std::vector<std::int16_t> rounded;
  for (std::size_t i = 0; i < kDatagrams * wire::kChunkFrames; ++i) {
    const double sample =
        0.5 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / 44100);
    tone.push_back(static_cast<float>(sample));
    rounded.push_back(static_cast<std::int16_t>(std::lround(32767 * sample)));
  }
  for (const bool inFloats : {false, true}) {
    SCOPED_TRACE(inFloats ? "as the panel sends it" : "as the program sends it");
    const auto bytes =
        inFloats ? std::as_bytes(std::span(tone)) : std::as_bytes(std::span(rounded));
    const std::string_view sound(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    start({server_.key(), "--seconds", "1", "--json", "--wav", path("a.wav"), "--arrivals",
           path("a.txt")});
    ASSERT_TRUE(isTold(wire::kHello)) << said("err");
    server_.says(wire::kReady);
    if (!inFloats) server_.says(wire::kFormat);
    const auto size = sound.size() / kDatagrams;
    for (std::size_t at = 0; at < sound.size(); at += size) {
      server_.says(sound.substr(at, size));
      server_.says(wire::kBusy);  // forged, as is sound of another length
      server_.says(std::string(inFloats ? 1764 : 3528, 'x'));
    }
    EXPECT_TRUE(isTold(wire::kStop));
    ASSERT_EQ(process_.wait(), 0) << said("err");

    const auto json = QJsonDocument::fromJson(QByteArray::fromStdString(said("out"))).object();
    EXPECT_EQ(json["datagrams"].toInt(), kDatagrams);
    EXPECT_NEAR(json["frequency_hz"].toDouble(), 440, 0.1);
    EXPECT_NEAR(json["level_db"]["rms"].toDouble(), -9.03, 0.05);
    EXPECT_THAT(measure::readWav(path("a.wav")).value(), Pointwise(FloatNear(1e-4F), tone));
    const auto arrivals = test::contentOf(path("a.txt"));
    EXPECT_EQ(std::ranges::count(arrivals, '\n'), kDatagrams);
  }
}

TEST_F(QuorinListen, ASignalEndsItWithItsReport) {
  start({server_.key()});
  ASSERT_TRUE(isTold(wire::kHello));
  ::kill(process_.pid(), SIGTERM);
  EXPECT_EQ(process_.wait(), 0);
  EXPECT_TRUE(isTold(wire::kStop));
  EXPECT_THAT(said("out"), HasSubstr("received "));
}

TEST_F(QuorinListen, SaysWhatIsWrong) {
  const std::string format(wire::kFormat);
  const std::string ready(wire::kReady);
  const std::string sound(1764, '\0');
  const std::vector<std::string> aSecond(50, sound);
  const struct {
    std::vector<std::string> arguments;  ///< after the server's address
    std::vector<std::string> answers;
    int exit;
    std::string sentence;
  } cases[] = {
      {{}, {std::string(wire::kBusy)}, 3, server_.key() + " already serves as many"},
      {{"--seconds", "1"}, {format, ready, sound}, 1, "but as format, READY, sound"},
      {{"--seconds", "3"}, {ready, format, sound}, 1, "Nothing arrives any more"},
      {{}, {"<<FORMAT:SR=48000>>"}, 1, "a format that is not known here: <<FORMAT:SR=48000>>"},
      {{"--wav", "/dev/full"}, aSecond, 1, "Cannot write to /dev/full"},
      {{"--arrivals", "/dev/full"}, aSecond, 1, "Cannot write to /dev/full"},
      {{}, {}, 1, "No answer from " + server_.key() + " for 3 s: check the address"},
      {{"--wav", path("none/a.wav")}, {}, 1, "Cannot write " + path("none/a.wav")},
      {{"--seconds", "nan"}, {}, 2, "--seconds needs a number"},
      {{"--port", "1"}, {}, 2, "--port goes with --cable"},
      {{"--cable"}, {}, 2, "leave ADDRESS:PORT out"},
      {{"1.2.3.4:5"}, {}, 2, "One ADDRESS:PORT is needed"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.sentence);
    auto arguments = row.arguments;
    arguments.insert(arguments.begin(), server_.key());
    start(arguments);
    if (!row.answers.empty()) {
      ASSERT_TRUE(isTold(wire::kHello));
      for (const auto& answer : row.answers) server_.says(answer);
    }
    EXPECT_EQ(process_.wait(), row.exit);
    EXPECT_THAT(said("err"), HasSubstr(row.sentence));
    while (server_.heard()) {
    }
  }
}

}  // namespace
}  // namespace quorin
