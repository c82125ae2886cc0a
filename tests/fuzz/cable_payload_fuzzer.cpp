#include "usb/device_information.h"
#include "wire/cable_frames.h"
#include "wire/text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

/// Payloads of a hostile phone: the text and the device information that they may be.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto payload = std::as_bytes(std::span(data, size));
  if (const auto text = quorin::wire::decodeText(payload)) {
    if (text->size() + 4 > size || !quorin::wire::isValidUtf8(*text)) std::abort();
  }
  if (const auto information = quorin::usb::readDeviceInformation(payload)) {
    if (information->description.size() > 8192) std::abort();
  }
  return 0;
}
