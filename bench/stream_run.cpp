#include "bench/stream_run.h"

#include "bench/bare_loop.h"
#include "bench/process_usage.h"
#include "measure/latency.h"
#include "measure/sound_format.h"
#include "measure/stamped_socket.h"
#include "quorin-listen/client_session.h"

#include <poll.h>

#include <memory>
#include <thread>

namespace quorin::bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A player with a large buffer needs this long before its sound flows evenly.
constexpr auto kSettling = 4s;
/// Far enough apart that a peer's latency cannot be taken for that of the next tick.
constexpr auto kTickInterval = 617ms;
constexpr auto kReach = 567ms;

/// One receiver. Says what a client says where the sender is a server, and nothing to a peer.
class Receiver {
 public:
  static std::expected<std::unique_ptr<Receiver>, std::string> open(const RunPlan& plan,
                                                                    int client) {
    auto socket =
        plan.server
            ? measure::StampedSocket::connectTo(*plan.server)
            : measure::StampedSocket::bindTo(static_cast<std::uint16_t>(plan.port + client));
    if (!socket) return std::unexpected(std::move(socket.error()));
    auto receiver = std::unique_ptr<Receiver>(new Receiver(std::move(*socket)));
    if (plan.server) receiver->session_.emplace(Clock::now());
    return receiver;
  }

  int descriptor() const { return socket_.descriptor(); }

  /// Takes what came; the sound is kept from `since` on.
  void serve(Clock::time_point since) {
    const auto now = Clock::now();
    while (const auto datagram = socket_.receive()) {
      const bool isSound = datagram->bytes.size() > kLongestMessage;
      if (session_) tellSession(*datagram, isSound);
      if (isSound && now >= since) keep(*datagram);
    }
    sendWhatIsDue();
  }

  void leave() {
    if (session_) session_->leave();
    sendWhatIsDue();
  }

  const std::vector<measure::Arrival>& arrivals() const { return arrivals_; }
  const std::vector<float>& samples() const { return samples_; }

 private:
  static constexpr std::size_t kLongestMessage = 127;

  explicit Receiver(measure::StampedSocket socket) : socket_(std::move(socket)) {}

  void tellSession(const measure::Datagram& datagram, bool isSound) {
    const auto bytes = datagram.bytes;
    if (isSound) {
      session_->onSound(Clock::now());
    } else {
      session_->onMessage({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                          Clock::now());
    }
  }

  void keep(const measure::Datagram& datagram) {
    const auto samples = measure::decode(datagram.bytes, measure::SampleFormat::kInt16);
    arrivals_.push_back({.at = datagram.arrived, .frames = samples.size()});
    samples_.insert(samples_.end(), samples.begin(), samples.end());
  }

  void sendWhatIsDue() {
    if (!session_) return;
    while (const auto message = session_->nextMessage(Clock::now())) socket_.send(*message);
  }

  measure::StampedSocket socket_;
  std::optional<listen::ClientSession> session_;
  std::vector<measure::Arrival> arrivals_;
  std::vector<float> samples_;
};

using Receivers = std::vector<std::unique_ptr<Receiver>>;

/// Only the first receiver's sound wakes this process up. Phones are on other machines: a reader
/// that is woken for each datagram would be charged to the sender.
void serveAll(const Receivers& receivers, Clock::time_point until, Clock::time_point keepFrom) {
  pollfd first{.fd = receivers.front()->descriptor(), .events = POLLIN, .revents = 0};
  while (Clock::now() < until) {
    ::poll(&first, 1, 50);
    for (const auto& receiver : receivers) receiver->serve(keepFrom);
  }
}

}  // namespace

std::expected<RunResult, std::string> measureStream(const RunPlan& plan) {
  Receivers receivers;
  for (int i = 0; i < plan.clients; ++i) {
    auto receiver = Receiver::open(plan, i);
    if (!receiver) return std::unexpected(std::move(receiver.error()));
    receivers.push_back(std::move(*receiver));
  }
  const auto track = sound::tickTrack(kSettling + plan.duration + 1s, kTickInterval);
  std::optional<std::expected<sound::Played, std::string>> ticks;
  std::jthread player([&] { ticks = sound::play(track, plan.sink, plan.player); });

  const auto begin = Clock::now() + kSettling;
  serveAll(receivers, begin, Clock::time_point::max());
  RunResult result;
  std::jthread normal([&] { result.normalLoop = bareLoop(plan.duration, LoopPriority::kNormal); });
  std::jthread realtime(
      [&] { result.realtimeLoop = bareLoop(plan.duration, LoopPriority::kRealtime); });
  const auto before = usageOf(plan.sender);
  serveAll(receivers, begin + plan.duration, begin);
  const auto after = usageOf(plan.sender);
  normal.join();
  realtime.join();
  result.realtime = hasRealtimeThread(plan.sender);
  for (const auto& receiver : receivers) receiver->leave();

  player.join();
  if (!*ticks) return std::unexpected(ticks->error());
  const auto& first = *receivers.front();
  if (first.arrivals().empty()) return std::unexpected("The sender sent nothing.");
  if (!before || !after) return std::unexpected("The sender ended by itself.");

  for (const auto& arrival : first.arrivals()) result.arrivals.add(arrival.at, arrival.frames);
  const auto arrived = measure::tickArrivals(first.samples(), first.arrivals());
  result.latenciesMs = measure::tickLatenciesMs((*ticks)->ticks, arrived, kReach);
  const std::chrono::duration<double> processor = after->processor - before->processor;
  result.processorPercent =
      100 * processor.count() / std::chrono::duration<double>(plan.duration).count();
  result.proportionalMb = after->proportionalMb;
  return result;
}

}  // namespace quorin::bench
