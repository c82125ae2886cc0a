#include "panel/client_manager.h"
#include "panel/udp_socket.h"
#include "platform/usb/frame.h"
#include "platform/usb/frame_outbox.h"
#include "usb/cable_frames.h"
#include "usb/cable_link.h"
#include "wifi/client_table.h"
#include "wifi/protocol.h"
#include "wire/audio_chunk.h"
#include "wire/control_message.h"

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <utility>

/// docs/protocol.md says what the code does: its numbers and texts are the code's own.
namespace quorin {
namespace {

using ::testing::HasSubstr;

/// The document, with every run of blanks and line breaks as one blank.
std::string document() {
  std::ostringstream text;
  text << std::ifstream(QUORIN_PROTOCOL_DOCUMENT).rdbuf();
  return std::regex_replace(text.str(), std::regex(R"(\s+)"), " ");
}

std::string number(auto value) {
  return std::to_string(value);
}

TEST(ProtocolDocument, HasTheMessagesWithTheirLengths) {
  const auto text = document();
  for (const auto& [message, from] :
       {std::pair{wire::kHello, "phone"}, std::pair{wire::kPing, "phone"},
        std::pair{wire::kStop, "phone"}, std::pair{wire::kReady, "computer"},
        std::pair{wire::kFormat, "computer"}, std::pair{wire::kPong, "computer"},
        std::pair{wire::kBusy, "computer"}}) {
    EXPECT_THAT(text, HasSubstr("| `" + std::string(message) + "` | " + from + " | " +
                                number(message.size()) + " |"));
  }
}

TEST(ProtocolDocument, HasTheFrames) {
  const auto text = document();
  using enum usb::CableFrame;
  for (const auto& [type, name] :
       {std::pair{kEndOfStream, "end of stream"},
        std::pair{kDeviceInformation, "device information"}, std::pair{kText, "text"},
        std::pair{kPing, "ping"}, std::pair{kPong, "pong"}, std::pair{kAudio, "audio"}}) {
    EXPECT_THAT(text, HasSubstr("| " + number(std::to_underlying(type)) + " | " + name + " |"));
  }
}

TEST(ProtocolDocument, HasTheNumbers) {
  const auto text = document();
  const auto pcmBytes = number(wire::kChunkFrames * sizeof(std::int16_t));
  const auto floatBytes = number(wire::kChunkBytes);
  const auto chunkMs = number(wire::kChunkDuration.count());
  for (const std::string& sentence : {
           "port " + number(wire::kDefaultPort) + " unless another was chosen",
           "datagrams of 1 to " + number(wifi::kMaxRequestBytes) + " bytes",
           "silent for more than " + number(wifi::ClientTable::kMaxSilence.count()) + ".0 s",
           number(wifi::ClientTable::kMaxClients) + " clients, then BUSY",
           number(wire::kChunkFrames) + " samples, signed 16 bits, little-endian, mono, " +
               number(wire::kSampleRate) + " Hz",
           pcmBytes + " bytes, each " + chunkMs + " ms",
           "one chunk every " + chunkMs + " ms",
           "Port " + number(usb::kCablePort) + " of the iPhone",
           "| version | type | tag | size | payload | " + number(usb::kFrameVersion) + " |",
           "at most " + number(usb::kMaxPayloadBytes >> 20U) + " MiB",
           "32-bit float, little-endian: " + floatBytes + " bytes",
           "beyond " + number(usb::FrameOutbox::kMaxLive * 20) + " ms of backlog",
           "1 to " + number(panel::UDPSocket::kReceiveBytes) + "; a longer one is cut",
           "more than " + number(panel::ClientManager::kInactivityLimit.count()) +
               ".0 s, checked every " + number(panel::ClientManager::kCleanupInterval.count()) +
               " s",
           "| " + pcmBytes + " bytes, 16 bits | " + floatBytes + " bytes, the float chunk",
       }) {
    EXPECT_THAT(text, HasSubstr(sentence));
  }
}

}  // namespace
}  // namespace quorin
