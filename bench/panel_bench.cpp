// What the panel's capture thread spends on one chunk, beside the bare system calls that no server
// could do without. Every client has a loopback address of its own; one socket takes it all in.

#include "panel/audio_broadcast.h"
#include "panel/client_manager.h"
#include "panel/udp_socket.h"
#include "platform/dispatch/simulated_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "wire/client_key.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

constexpr std::uint32_t kFirstClientAddress = 0x7F010001;  // 127.1.0.1

/// Receives nothing and so drops most: what a receiver costs is not the sender's.
class Sink {
 public:
  Sink() : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    auto address = wire::ClientKey{INADDR_ANY, 0}.socketAddress();
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    ::bind(fd_.get(), generic, length);
    ::getsockname(fd_.get(), generic, &length);
    port_ = ntohs(address.sin_port);
  }

  std::vector<wire::ClientKey> clients(std::int64_t count) const {
    std::vector<wire::ClientKey> keys;
    for (std::int64_t i = 0; i < count; ++i) {
      keys.push_back({kFirstClientAddress + static_cast<std::uint32_t>(i), port_});
    }
    return keys;
  }

 private:
  posix::FileDescriptor fd_;
  std::uint16_t port_ = 0;
};

/// Times the loop it stands around by the processor time of this thread, which other programs do
/// not lengthen.
class ChunkTimer {
 public:
  explicit ChunkTimer(benchmark::State& state) : state_(state) {}
  ~ChunkTimer() {
    const double perChunk = (threadSeconds() - begin_) / static_cast<double>(state_.iterations());
    state_.counters["us_per_client"] = perChunk * 1e6 / static_cast<double>(state_.range(0));
    state_.counters["cpu_percent"] = 100 * perChunk / 0.02;  // a chunk comes every 20 ms
  }
  ChunkTimer(const ChunkTimer&) = delete;
  ChunkTimer& operator=(const ChunkTimer&) = delete;

 private:
  static double threadSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
  }

  benchmark::State& state_;
  double begin_ = threadSeconds();
};

/// The server's way: the same objects, filled as by so many HELLOs.
void broadcastAudio(benchmark::State& state) {
  const Sink sink;
  dispatch::SimulatedScheduler scheduler;
  const auto heapBefore = ::mallinfo2().uordblks;
  ClientManager table(scheduler, [](std::string_view) {});
  for (const auto& key : sink.clients(state.range(0))) table.updateClient(key.text());
  const auto heapAfter = ::mallinfo2().uordblks;

  // In simulated time nobody runs the receive loop, which has nothing to receive here.
  const auto socket = std::make_shared<UDPSocket>(scheduler, 0, [](std::string_view) {});
  if (!socket->start()) return state.SkipWithError("no socket");
  const AudioBroadcast broadcast{socket, table.recipients(), std::make_shared<Statistics>()};
  const wire::AudioChunk chunk{};
  {
    const ChunkTimer timer(state);
    for (auto _ : state) broadcast.broadcastAudio(chunk);
  }
  if (state.range(0) >= 100)
    state.counters["bytes_per_client"] =
        static_cast<double>(heapAfter - heapBefore) / static_cast<double>(state.range(0));
}
BENCHMARK(broadcastAudio)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

/// One sendto for each client and nothing else.
void bareSystemCalls(benchmark::State& state) {
  const Sink sink;
  const posix::FileDescriptor fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  std::vector<sockaddr_in> addresses;
  for (const auto& key : sink.clients(state.range(0))) addresses.push_back(key.socketAddress());
  const wire::AudioChunk chunk{};
  const ChunkTimer timer(state);
  for (auto _ : state) {
    for (const auto& address : addresses) {
      ::sendto(fd.get(), chunk.data(), sizeof chunk, 0, reinterpret_cast<const sockaddr*>(&address),
               sizeof address);
    }
  }
}
BENCHMARK(bareSystemCalls)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quorin::panel

BENCHMARK_MAIN();
