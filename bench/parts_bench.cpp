#include "stream/audio_frame_queue.h"
#include "wifi/client_table.h"
#include "wifi/request.h"
#include "wifi/wifi_transport.h"
#include "wire/control_message.h"
#include "wire/pcm16.h"

#include <benchmark/benchmark.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace quorin::wifi {
namespace {

wire::AudioChunk noise() {
  wire::AudioChunk chunk;
  std::minstd_rand random(1);
  std::uniform_real_distribution<float> samples(-1.1F, 1.1F);
  for (auto& sample : chunk) sample = samples(random);
  return chunk;
}

// ---- 882 samples to 16 bits

void convert(benchmark::State& state) {
  const auto chunk = noise();
  std::array<std::int16_t, wire::kChunkFrames> out{};
  for (auto _ : state) {
    wire::convertToPcm16(chunk, out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(convert)->Name("882 samples to 16 bits");

// ---- One chunk to ten clients

/// Ten sockets on the loopback interface without a reader; what does not fit is dropped there.
class TenClients {
 public:
  TenClients() {
    for (int i = 0; i < 10; ++i) {
      receivers_.emplace_back(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
      auto address = wire::Endpoint{.address = INADDR_LOOPBACK, .port = 0}.socketAddress();
      socklen_t length = sizeof address;
      auto* generic = reinterpret_cast<sockaddr*>(&address);
      if (::bind(receivers_.back().get(), generic, length) != 0) std::abort();
      if (::getsockname(receivers_.back().get(), generic, &length) != 0) std::abort();
      keys_.push_back(wire::Endpoint::of(address));
    }
  }

  /// A socket for each, as the server has them.
  Audience audience() const {
    Audience audience;
    for (const auto& key : keys_) {
      auto socket = network::DatagramSocket::open();
      if (!socket || socket->connect({INADDR_LOOPBACK, 0}, key)) std::abort();
      audience.push_back(std::make_shared<const ClientSocket>(std::move(*socket)));
    }
    return audience;
  }

  std::array<sockaddr_in, 10> addresses() const {
    std::array<sockaddr_in, 10> result;
    std::ranges::transform(keys_, result.begin(), &wire::Endpoint::socketAddress);
    return result;
  }

 private:
  std::vector<posix::FileDescriptor> receivers_;
  std::vector<wire::Endpoint> keys_;
};

using Datagram = std::array<std::byte, 2 * wire::kChunkFrames>;

void sendToTen(benchmark::State& state) {
  const TenClients clients;
  const auto audience = clients.audience();
  const Datagram datagram{};
  for (auto _ : state) {
    for (const auto& client : audience) benchmark::DoNotOptimize(client->send(datagram));
  }
}
BENCHMARK(sendToTen)->Name("ten clients/ours");

void tenSendto(benchmark::State& state) {
  const TenClients clients;
  const posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const Datagram datagram{};
  for (auto _ : state) {
    for (const auto& address : clients.addresses()) {
      benchmark::DoNotOptimize(::sendto(socket.get(), datagram.data(), datagram.size(),
                                        MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&address),
                                        sizeof address));
    }
  }
}
BENCHMARK(tenSendto)->Name("ten clients/ten sendto");

// ---- The way of a chunk, and of a request

void carryChunk(benchmark::State& state) {
  const auto chunk = noise();
  wire::AudioChunk sent;
  stream::AudioFrameQueue queue;
  for (auto _ : state) {
    queue.append(chunk, {});
    benchmark::DoNotOptimize(queue.take(sent));
  }
}
BENCHMARK(carryChunk)->Name("chunk through the queue");

void parse(benchmark::State& state, const std::string& datagram) {
  for (auto _ : state) benchmark::DoNotOptimize(parseRequest(datagram));
}
BENCHMARK_CAPTURE(parse, hello, std::string(wire::kHello))->Name("request/hello");
BENCHMARK_CAPTURE(parse, rubbish, std::string(127, '<'))->Name("request/longest rubbish");

void pingFlood(benchmark::State& state) {
  ClientTable table;
  std::uint32_t address = 0;
  for (auto _ : state) table.ping({.address = ++address, .port = 9}, {});
}
BENCHMARK(pingFlood)->Name("ping from ever new sources");

}  // namespace
}  // namespace quorin::wifi

BENCHMARK_MAIN();
