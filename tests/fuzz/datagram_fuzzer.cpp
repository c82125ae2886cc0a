#include "wifi/request.h"
#include "wire/text.h"

#include <QByteArrayView>
#include <QStringDecoder>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace quorin;

/// Qt's opinion.
bool decodes(std::string_view bytes) {
  QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  const QString text = decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
  return !decoder.hasError();
}

std::optional<wifi::Request> expected(std::string_view datagram) {
  if (datagram.empty() || datagram.size() > 127 || !decodes(datagram)) return std::nullopt;
  const std::string text(datagram);
  if (text.find("<<HELLO>>") != std::string::npos) return wifi::Request::kHello;
  if (text.find("<<PING>>") != std::string::npos) return wifi::Request::kPing;
  if (text.find("<<STOP>>") != std::string::npos) return wifi::Request::kStop;
  return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view datagram(reinterpret_cast<const char*>(data), size);
  if (wire::isValidUtf8(datagram) != decodes(datagram)) std::abort();
  if (wifi::parseRequest(datagram) != expected(datagram)) std::abort();
  return 0;
}
