// What the panel's capture thread spends on one chunk, beside the bare system calls that no server
// could do without. Every client has a loopback address of its own; one socket takes it all in.

#include "panel/audio_broadcast.h"
#include "panel/client_manager.h"
#include "panel/udp_socket.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "wire/client_key.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/socket.h>

#include <QCoreApplication>
#include <algorithm>
#include <ctime>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

constexpr std::uint32_t kFirstClientAddress = 0x7F010001;  // 127.1.0.1
constexpr double kChunkPeriodMicroseconds = 20'000;
constexpr std::int64_t kMostClients = 1000;

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

/// Processor time of this thread, which other programs do not lengthen.
double threadMicroseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// What one call takes, over `count` of them.
double microsecondsEach(std::int64_t count, const auto& call) {
  const double begin = threadMicroseconds();
  for (std::int64_t i = 0; i < count; ++i) call();
  return (threadMicroseconds() - begin) / static_cast<double>(count);
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + std::ssize(values) / 2;
  std::ranges::nth_element(values, middle);
  return *middle;
}

/// The server's way, with the same objects, filled as by so many HELLOs; and one sendto for each
/// client and nothing else, on the same socket. They take turns of a millisecond or so: what
/// disturbs the machine for longer disturbs both, and what is shorter does not move the medians.
///
/// "Time" is the mean of the server's way alone, "CPU" of both ways together.
void broadcastAudio(benchmark::State& state) {
  const Sink sink;
  const auto clients = sink.clients(state.range(0));
  const auto scheduler = dispatch::makeSystemScheduler();
  const auto heapBefore = ::mallinfo2().uordblks;
  ClientManager table(*scheduler, [](std::string_view) {});
  for (const auto& client : clients) table.updateClient(client.text());
  const auto heapAfter = ::mallinfo2().uordblks;

  // The receive loop waits beside it, as it does in the program: what threads share costs more
  // than it does in a program of one thread.
  const auto socket = std::make_shared<UDPSocket>(*scheduler, 0, [](std::string_view) {});
  if (!socket->start()) return state.SkipWithError("no socket");
  const AudioBroadcast broadcast{socket, table.recipients(), std::make_shared<Statistics>()};
  const wire::AudioChunk chunk{};
  const auto ourWay = [&] { broadcast.broadcastAudio(chunk); };

  std::vector<sockaddr_in> addresses;
  for (const auto& client : clients) addresses.push_back(client.socketAddress());
  const auto systemCalls = [&, fd = socket->socket()] {
    for (const auto& address : addresses) {
      ::sendto(fd, chunk.data(), sizeof chunk, MSG_DONTWAIT | MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
  };

  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> ratios;
  // A turn is as many datagrams however many clients there are.
  const std::int64_t chunksInTurn = kMostClients / state.range(0);
  while (state.KeepRunningBatch(chunksInTurn)) {
    ours.push_back(microsecondsEach(chunksInTurn, ourWay));
    bare.push_back(microsecondsEach(chunksInTurn, systemCalls));
    ratios.push_back(ours.back() / bare.back());
    state.SetIterationTime(ours.back() * static_cast<double>(chunksInTurn) / 1e6);
  }
  const double perChunk = median(ours);
  const auto count = static_cast<double>(clients.size());
  state.counters["us_per_chunk"] = perChunk;
  state.counters["us_system_calls"] = median(bare);
  state.counters["ratio"] = median(ratios);
  state.counters["us_per_client"] = perChunk / count;
  state.counters["cpu_percent"] = 100 * perChunk / kChunkPeriodMicroseconds;
  // With fewer clients it tells what an empty table takes.
  if (clients.size() >= 100)
    state.counters["bytes_per_client"] = static_cast<double>(heapAfter - heapBefore) / count;
}
BENCHMARK(broadcastAudio)
    ->RangeMultiplier(10)
    ->Range(1, kMostClients)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quorin::panel

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);  // whose thread serves the main queue
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
