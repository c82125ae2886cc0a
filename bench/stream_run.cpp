#include "bench/stream_run.h"

#include "bench/bare_loop.h"
#include "bench/process_usage.h"
#include "measure/latency.h"
#include "measure/sound_format.h"
#include "quorin-listen/cable_source.h"
#include "quorin-listen/udp_source.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>

namespace quorin::bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kJoining = 10s;
/// A player with a large buffer needs this long before its sound flows evenly.
constexpr auto kSettling = 4s;
/// Far enough apart that a peer's latency cannot be taken for that of the next tick.
constexpr auto kTickInterval = 617ms;
constexpr auto kReach = 567ms;

/// What a peer sends here, unasked.
class PeerSource : public listen::SoundSource {
 public:
  explicit PeerSource(measure::StampedSocket socket) : socket_(std::move(socket)) {}

  int descriptor() const override { return socket_.descriptor(); }
  bool joined() const override { return true; }
  void serve(listen::TimePoint, const std::function<void(const listen::Sound&)>& onSound) override {
    while (const auto datagram = socket_.receive()) {
      onSound({.arrived = datagram->arrived, .bytes = datagram->bytes});
    }
  }

 private:
  measure::StampedSocket socket_;
};

struct Receiver {
  std::unique_ptr<listen::SoundSource> source;
  measure::SampleFormat format = measure::SampleFormat::kInt16;
  std::vector<measure::Arrival> arrivals = {};
  std::vector<float> samples = {};

  void keep(const listen::Sound& sound) {
    const auto decoded = measure::decode(sound.bytes, format);
    arrivals.push_back({.at = sound.arrived, .frames = decoded.size()});
    samples.insert(samples.end(), decoded.begin(), decoded.end());
  }
};

std::expected<Receiver, std::string> openReceiver(const std::string& from, int client) {
  if (from == "cable") {
    auto source = listen::CableSource::open(wire::kCablePort, [](auto) {});
    if (!source) return std::unexpected(std::move(source.error()));
    return Receiver{std::move(*source), measure::SampleFormat::kFloat32};
  }
  if (const auto server = wire::Endpoint::parse(from)) {
    auto source = listen::UdpSource::open(*server, Clock::now());
    if (!source) return std::unexpected(std::move(source.error()));
    return Receiver{std::move(*source)};
  }
  const auto port = static_cast<std::uint16_t>(std::stoi(from) + client);
  auto socket = measure::StampedSocket::bindTo(port);
  if (!socket) return std::unexpected(std::move(socket.error()));
  return Receiver{std::make_unique<PeerSource>(std::move(*socket))};
}

/// Only the first receiver's sound wakes this process up. Phones are on other machines: a reader
/// that is woken for each datagram would be charged to the sender.
void serveAll(std::vector<Receiver>& receivers, auto&& isOver, bool keeps) {
  pollfd first{.fd = receivers.front().source->descriptor(), .events = POLLIN, .revents = 0};
  while (!isOver()) {
    ::poll(&first, 1, 50);
    for (auto& receiver : receivers) {
      receiver.source->serve(Clock::now(), [&](const listen::Sound& sound) {
        if (keeps) receiver.keep(sound);
      });
    }
  }
}

auto until(Clock::time_point end) {
  return [end] { return Clock::now() >= end; };
}

}  // namespace

std::expected<RunResult, std::string> measureStream(const RunPlan& plan) {
  std::vector<Receiver> receivers;
  for (int i = 0; i < plan.clients; ++i) {
    auto receiver = openReceiver(plan.from, i);
    if (!receiver) return std::unexpected(std::move(receiver.error()));
    receivers.push_back(std::move(*receiver));
  }
  const auto haveJoined = [&receivers] {
    return std::ranges::all_of(receivers, [](auto& each) { return each.source->joined(); });
  };
  serveAll(
      receivers, [&, late = until(Clock::now() + kJoining)] { return haveJoined() || late(); },
      false);
  if (!haveJoined()) return std::unexpected("The sender does not let everybody join.");
  const auto track = sound::tickTrack(kSettling + plan.duration + 1s, kTickInterval);
  std::optional<std::expected<sound::Played, std::string>> ticks;
  std::jthread player([&] { ticks = sound::play(track, plan.sink, plan.player); });

  const auto begin = Clock::now() + kSettling;
  serveAll(receivers, until(begin), false);
  RunResult result;
  std::jthread normal([&] { result.normalLoop = bareLoop(plan.duration, LoopPriority::kNormal); });
  std::jthread realtime(
      [&] { result.realtimeLoop = bareLoop(plan.duration, LoopPriority::kRealtime); });
  const auto before = usageOf(plan.sender);
  serveAll(receivers, until(begin + plan.duration), true);
  const auto after = usageOf(plan.sender);
  normal.join();
  realtime.join();
  result.realtime = hasRealtimeThread(plan.sender);
  for (auto& receiver : receivers) receiver.source->leave(Clock::now());

  player.join();
  if (!*ticks) return std::unexpected(ticks->error());
  const auto& first = receivers.front();
  if (first.arrivals.empty()) return std::unexpected("The sender sent nothing.");
  if (!before || !after) return std::unexpected("The sender ended by itself.");

  for (const auto& arrival : first.arrivals) result.arrivals.add(arrival.at, arrival.frames);
  const auto arrived = measure::tickArrivals(first.samples, first.arrivals);
  result.latenciesMs = measure::tickLatenciesMs((*ticks)->ticks, arrived, kReach);
  const std::chrono::duration<double> processor = after->processor - before->processor;
  result.processorPercent =
      100 * processor.count() / std::chrono::duration<double>(plan.duration).count();
  result.proportionalMb = after->proportionalMb;
  return result;
}

}  // namespace quorin::bench
