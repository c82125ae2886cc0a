#include "usb/cable.h"

#include "core/log.h"
#include "usb/device_information.h"
#include "wire/cable_frames.h"
#include "wire/text.h"

#include <array>
#include <cstdio>
#include <utility>

namespace quorin::usb {
namespace {

using wire::CableFrame;

/// Limits the memory for an app that never answers.
constexpr std::size_t kMaxUnanswered = 60;

}  // namespace

Cable::Cable(CablePlatform platform, CableEvents events)
    : scheduler_(platform.scheduler),
      events_(std::move(events)),
      peerLines_(scheduler_.mainQueue(),
                 [this](std::size_t leftOut) {
                   events_.presentMessage(
                       std::to_string(leftOut) + " more lines from the phone are left out", true);
                 }),
      audioPath_(platform.sendQueue),
      link_(platform, *this,
            {.channelWasSet = [this](PTChannel* channel) { channelWasSet(channel); },
             .didChange =
                 [this] {
                   // Device numbers are reused: forget the previous phone's name.
                   if (namedDevice_ != link_.connectingToDeviceID()) namedDevice_.reset();
                   events_.didChange();
                 }}) {}

// ---- The channel

void Cable::channelWasSet(PTChannel* channel) {
  if (const auto dropped = audioPath_.dropped(); dropped > 0) {
    log::note("cable",
              std::to_string(dropped) + " audio frames dropped: the phone read too slowly");
  }
  audioPath_.setChannel(channel);
  pings_.clear();
  pingAgainLater();  // a pending ping of the previous channel is never answered
  appAnswers_ = true;
  channel != nullptr ? awaitPong() : pongTimeout_.reset();
}

bool Cable::shouldAcceptFrame(PTChannel& channel, const wire::FrameHeader& header) {
  if (wire::isKnownCableFrame(header.type)) return true;
  log::note("cable", "Unexpected frame of type " + std::to_string(header.type));
  channel.close();
  return false;
}

void Cable::didReceiveFrame(PTChannel& channel, const wire::FrameHeader& header,
                            std::span<const std::byte> payload) {
  switch (static_cast<CableFrame>(header.type)) {
    case CableFrame::kDeviceInformation:
      if (peerLines_.admits()) didReceiveDeviceInformation(payload);
      break;
    case CableFrame::kText:
      if (peerLines_.admits()) didReceiveText(channel, payload);
      break;
    case CableFrame::kPong:
      pongWithTag(header.tag);
      break;
    case CableFrame::kEndOfStream:
    case CableFrame::kPing:
    case CableFrame::kAudio:
      break;
  }
}

void Cable::didReceiveDeviceInformation(std::span<const std::byte> payload) {
  const auto information = readDeviceInformation(payload);
  if (information && link_.connectedDeviceID()) {
    namedDevice_ = link_.connectedDeviceID();
    phoneName_ = information->name;
  }
  events_.presentMessage("Connected to " + (information ? information->description
                                                        : "(unreadable device information)"),
                         true);
}

void Cable::didReceiveText(const PTChannel& channel, std::span<const std::byte> payload) {
  const auto label = "[" + channel.userInfo() + "]: ";
  if (const auto text = wire::decodeText(payload)) {
    events_.presentMessage(label + wire::displayable(*text), false);
  } else {
    events_.presentMessage(label + "a text message that cannot be read: " + text.error(), true);
  }
}

void Cable::didEndWithError(PTChannel& channel, std::error_code) {
  const auto line = "Disconnected from " + channel.userInfo();  // the link destroys the channel
  if (link_.channelDidEnd(channel)) events_.presentMessage(line, true);
}

bool Cable::sendMessage(std::string_view text) {
  auto* channel = link_.connectedChannel();
  if (channel == nullptr) return false;
  channel->sendFrameOfType(std::to_underlying(CableFrame::kText), 0, wire::encodeText(text),
                           [](std::error_code error) {
                             if (error)
                               log::note("cable", "Failed to send message: " + error.message());
                           });
  events_.presentMessage("[you]: " + std::string(text), false);
  return true;
}

// ---- Ping

void Cable::ping() {
  auto* channel = link_.connectedChannel();
  if (channel == nullptr) return pingAgainLater();
  const auto tag = channel->newTag();
  if (pings_.size() == kMaxUnanswered) pings_.erase(pings_.begin());
  pings_[tag] = scheduler_.now();
  channel->sendFrameOfType(std::to_underlying(CableFrame::kPing), tag, {},
                           [this, tag](std::error_code error) {
                             pingAgainLater();
                             if (error) pings_.erase(tag);
                           });
}

void Cable::pingAgainLater() {
  nextPing_ = scheduler_.mainQueue().makeTimer({.first = kPingInterval}, [this] { ping(); });
}

void Cable::pongWithTag(std::uint32_t tag) {
  const auto ping = pings_.extract(tag);
  if (ping.empty()) return;
  awaitPong();
  const std::chrono::duration<double, std::milli> took = scheduler_.now() - ping.mapped();
  std::array<char, 80> line{};
  std::snprintf(line.data(), line.size(), "Ping total roundtrip time: %.3f ms", took.count());
  log::note("cable", line.data());
}

void Cable::awaitPong() {
  setAppAnswers(true);
  pongTimeout_ =
      scheduler_.mainQueue().makeTimer({.first = kPongTimeout}, [this] { setAppAnswers(false); });
}

void Cable::setAppAnswers(bool answers) {
  if (std::exchange(appAnswers_, answers) == answers) return;
  scheduler_.mainQueue().async(scope_, [this] { events_.didChange(); });
}

}  // namespace quorin::usb
