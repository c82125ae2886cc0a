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

std::string words(const auto&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

TEST(ProtocolDocument, HasTheMessagesWithTheirLengths) {
  const auto text = document();
  for (const auto& [message, from] :
       {std::pair{wire::kHello, "phone"}, std::pair{wire::kPing, "phone"},
        std::pair{wire::kStop, "phone"}, std::pair{wire::kReady, "computer"},
        std::pair{wire::kFormat, "computer"}, std::pair{wire::kPong, "computer"},
        std::pair{wire::kBusy, "computer"}}) {
    EXPECT_THAT(text, HasSubstr(words("| `", message, "` | ", from, " | ", message.size(), " |")));
  }
}

TEST(ProtocolDocument, HasTheFrames) {
  const auto text = document();
  using enum usb::CableFrame;
  for (const auto& [type, name] :
       {std::pair{kEndOfStream, "end of stream"},
        std::pair{kDeviceInformation, "device information"}, std::pair{kText, "text"},
        std::pair{kPing, "ping"}, std::pair{kPong, "pong"}, std::pair{kAudio, "audio"}}) {
    EXPECT_THAT(text, HasSubstr(words("| ", std::to_underlying(type), " | ", name, " |")));
  }
}

TEST(ProtocolDocument, HasTheNumbers) {
  const auto text = document();
  constexpr auto kPcmBytes = wire::kChunkFrames * sizeof(std::int16_t);
  const auto chunkMs = wire::kChunkDuration.count();
  for (const auto& sentence : {
           words("port ", wire::kDefaultPort, " unless another was chosen"),
           words("datagrams of 1 to ", wifi::kMaxRequestBytes, " bytes"),
           words("silent for more than ", wifi::ClientTable::kMaxSilence.count(), ".0 s"),
           words(wifi::ClientTable::kMaxClients, " clients, then BUSY"),
           words(wire::kChunkFrames, " samples, signed 16 bits, little-endian, mono, ",
                 wire::kSampleRate, " Hz"),
           words(kPcmBytes, " bytes, each ", chunkMs, " ms"),
           words("one chunk every ", chunkMs, " ms"),
           words("Port ", usb::kCablePort, " of the iPhone"),
           words("| version | type | tag | size | payload | ", usb::kFrameVersion, " |"),
           words("at most ", usb::kMaxPayloadBytes >> 20U, " MiB"),
           words("32-bit float, little-endian: ", wire::kChunkBytes, " bytes"),
           words("beyond ", usb::FrameOutbox::kMaxLive * 20, " ms of backlog"),
           words("1 to ", panel::UDPSocket::kReceiveBytes, "; a longer one is cut"),
           words("more than ", panel::ClientManager::kInactivityLimit.count(),
                 ".0 s, checked every ", panel::ClientManager::kCleanupInterval.count(), " s"),
           words("| ", kPcmBytes, " bytes, 16 bits | ", wire::kChunkBytes,
                 " bytes, the float chunk"),
       }) {
    EXPECT_THAT(text, HasSubstr(sentence));
  }
}

}  // namespace
}  // namespace quorin
