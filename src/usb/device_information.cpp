#include "usb/device_information.h"

#include "platform/usb/property_list.h"
#include "wire/text.h"

#include <cstdlib>
#include <memory>
#include <string_view>

namespace quorin::usb {

std::optional<DeviceInformation> readDeviceInformation(std::span<const std::byte> payload) {
  if (payload.size() > 16 * 1024) return std::nullopt;  // a phone's takes a few hundred bytes
  const auto list = readPropertyList(payload);
  if (!list) return std::nullopt;

  char* xml = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(list.get(), &xml, &length);
  // libplist renamed its own function for this in 2.3; both call free().
  const std::unique_ptr<char, decltype(&std::free)> owner(xml, std::free);
  const std::string_view document(xml, length);
  const auto name = textIn(list.get(), "name");
  if (!wire::isValidUtf8(document) || !wire::isValidUtf8(name)) return std::nullopt;

  const auto begin = document.find("<dict");  // behind the document's own lines
  const auto end = document.rfind("\n</plist>");
  if (begin == std::string_view::npos) return std::nullopt;  // libplist cannot write what it read
  return DeviceInformation{.name = wire::displayable(name.substr(0, name.find('\n'))),
                           .description = wire::displayable(document.substr(begin, end - begin))};
}

}  // namespace quorin::usb
