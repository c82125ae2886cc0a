#include "usb/cable.h"

#include "core/log.h"
#include "usb/cable_frames.h"
#include "usb/device_information.h"
#include "wire/displayable.h"

#include <string>
#include <utility>

namespace quorin::usb {

Cable::Cable(CablePlatform platform, dispatch::Queue& sendQueue, CableEvents events)
    : events_(std::move(events)),
      audioPath_(sendQueue),
      link_(platform, linkEvents(), delegate_),
      pingLoop_(platform.scheduler, link_) {}

Cable::~Cable() {
  delegate_.reset();
}

CableLinkEvents Cable::linkEvents() {
  return {.channelWasSet =
              [this](const std::shared_ptr<PTChannel>& channel) {
                if (const auto dropped = audioPath_.dropped(); dropped > 0) {
                  log::note("cable", std::to_string(dropped) +
                                         " audio frames dropped: the phone read too slowly");
                }
                audioPath_.setChannel(channel.get());
                pingLoop_.forgetUnanswered();
              },
          .onChannelChanged =
              [this](bool connected) {
                if (events_.onChannelChanged) events_.onChannelChanged(connected);
              },
          .willChangeConnectedDeviceID = std::move(events_.willChangeConnectedDeviceID),
          .didChangeConnectedDeviceID = std::move(events_.didChangeConnectedDeviceID)};
}

bool Cable::shouldAcceptFrame(PTChannel& channel, const FrameHeader& header) {
  if (isKnownCableFrame(header.type)) return true;
  log::note("cable", "Unexpected frame of type " + std::to_string(header.type));
  channel.close();
  return false;
}

void Cable::didReceiveFrame(PTChannel& channel, const FrameHeader& header,
                            std::span<const std::byte> payload) {
  switch (static_cast<CableFrame>(header.type)) {
    case CableFrame::kDeviceInformation:
      present("Connected to " +
                  describeDeviceInformation(payload).value_or("(unreadable device information)"),
              true);
      break;
    case CableFrame::kText:
      didReceiveText(channel, payload);
      break;
    case CableFrame::kPong:
      pingLoop_.pongWithTag(header.tag, {});
      break;
    case CableFrame::kEndOfStream:
    case CableFrame::kPing:
    case CableFrame::kAudio:
      break;
  }
}

void Cable::didReceiveText(const PTChannel& channel, std::span<const std::byte> payload) {
  const auto label = "[" + channel.userInfo().text() + "]: ";
  if (const auto text = decodeText(payload)) {
    present(label + wire::displayable(*text), false);
  } else {
    present(label + "a text message that cannot be read: " + describe(text.error()), true);
  }
}

void Cable::didEndWithError(PTChannel& channel, std::error_code) {
  const auto device = link_.connectedDeviceID();
  if (device && channel.userInfo().isDevice(*device)) link_.didDisconnectFromDevice(*device);
  if (&channel != link_.connectedChannel().get()) return;
  present("Disconnected from " + channel.userInfo().text(), true);
  link_.setConnectedChannel(nullptr);
}

bool Cable::sendMessage(std::string_view text) {
  const auto& channel = link_.connectedChannel();
  if (!channel) return false;
  channel->sendFrameOfType(std::to_underlying(CableFrame::kText), 0, encodeText(text),
                           [](std::error_code error) {
                             if (error) {
                               log::note("cable", "Failed to send message: " + error.message());
                             }
                           });
  present("[you]: " + std::string(text), false);
  return true;
}

void Cable::present(std::string_view text, bool isStatus) {
  if (events_.presentMessage) events_.presentMessage(text, isStatus);
}

}  // namespace quorin::usb
