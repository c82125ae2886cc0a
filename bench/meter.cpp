// Measures one sender; bench.sh calls it and makes the table.
// Every figure is one line, "NAME VALUE".
//
//   quorin-meter flood SECONDS ADDRESS:PORT DATAGRAMS-A-SECOND
//   quorin-meter hello TRIES ADDRESS:PORT OTHER-PHONES
//   quorin-meter stop THREAD MILLISECONDS
//   quorin-meter usage PROCESS SECONDS
//   quorin-meter pss PROCESS
//   quorin-meter start TRIES PROGRAM OTHER-PROGRAM
//   quorin-meter stream SECONDS PROCESS SINK PLAYER FROM [CLIENTS]
//     PLAYER: the player's buffer in ms, or "default";  FROM: 127.0.0.1:PORT to join a server,
//     PORT where a peer sends
#include "bench/first_frame.h"
#include "bench/flood.h"
#include "bench/handshake.h"
#include "bench/process_usage.h"
#include "bench/stream_run.h"
#include "bench/thread_stop.h"

#include <charconv>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using quorin::measure::Spread;

void print(const std::string& name, double value) {
  std::printf("%s %.4f\n", name.c_str(), value);
}

void print(const std::string& name, const Spread& spread) {
  print(name + "_p50", spread.p50);
  print(name + "_p99", spread.p99);
  print(name + "_max", spread.max);
}

int toNumber(const std::string& text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

int pss(const std::vector<std::string>& arguments) {
  const auto usage = quorin::bench::usageOf(toNumber(arguments[1]));
  if (!usage) return 1;
  print("pss", usage->proportionalMb);
  return 0;
}

int hello(const std::vector<std::string>& arguments) {
  const auto server = quorin::wire::Endpoint::parse(arguments[2]);
  if (!server) return 2;
  const auto times =
      quorin::bench::helloToReadyMs(*server, toNumber(arguments[1]), toNumber(arguments[3]));
  if (!times) {
    std::cerr << "quorin-meter: " << times.error() << '\n';
    return 1;
  }
  print("hello", quorin::measure::spreadOf(*times));
  return 0;
}

int stop(const std::vector<std::string>& arguments) {
  const std::chrono::milliseconds duration(toNumber(arguments[2]));
  return quorin::bench::stopThread(toNumber(arguments[1]), duration) ? 0 : 1;
}

int usage(const std::vector<std::string>& arguments) {
  const auto process = toNumber(arguments[1]);
  const auto seconds = toNumber(arguments[2]);
  const auto before = quorin::bench::usageOf(process);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const auto after = quorin::bench::usageOf(process);
  if (!before || !after) return 1;
  const std::chrono::duration<double> processor = after->processor - before->processor;
  print("processor", 100 * processor.count() / seconds);
  return 0;
}

int flood(const std::vector<std::string>& arguments) {
  const auto server = quorin::wire::Endpoint::parse(arguments[2]);
  if (!server) return 2;
  const std::chrono::seconds duration(toNumber(arguments[1]));
  const auto sent = quorin::bench::flood(*server, toNumber(arguments[3]), duration);
  print("rate", static_cast<double>(sent) / static_cast<double>(duration.count()));
  return 0;
}

int start(const std::vector<std::string>& arguments) {
  const auto times =
      quorin::bench::firstFrameMs({arguments[2], arguments[3]}, toNumber(arguments[1]));
  if (!times) {
    std::cerr << "quorin-meter: " << times.error() << '\n';
    return 1;
  }
  print("start", quorin::measure::spreadOf((*times)[0]));
  print("other_start", quorin::measure::spreadOf((*times)[1]));
  return 0;
}

int stream(const std::vector<std::string>& arguments) {
  quorin::bench::RunPlan plan;
  plan.duration = std::chrono::seconds(toNumber(arguments[1]));
  plan.sender = toNumber(arguments[2]);
  plan.sink = arguments[3];
  if (arguments[4] != "default") plan.player = std::chrono::milliseconds(toNumber(arguments[4]));
  plan.server = quorin::wire::Endpoint::parse(arguments[5]);
  if (!plan.server) plan.port = static_cast<std::uint16_t>(toNumber(arguments[5]));
  if (arguments.size() > 6) plan.clients = toNumber(arguments[6]);

  const auto result = quorin::bench::measureStream(plan);
  if (!result) {
    std::cerr << "quorin-meter: " << result.error() << '\n';
    return 1;
  }
  print("deviation", result->arrivals.deviation());
  print("buffer", result->arrivals.bufferNeededMs());
  print("delivered", result->arrivals.delivered());
  if (!result->latenciesMs.empty()) {
    print("latency", quorin::measure::spreadOf(result->latenciesMs));
  }
  print("processor", result->processorPercent);
  print("pss", result->proportionalMb);
  print("realtime", result->realtime ? 1 : 0);
  print("loop", result->normalLoop);
  print("realtime_loop", result->realtimeLoop);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const auto isCall = [&](const char* name, std::size_t count) {
    return arguments.size() >= count && arguments[0] == name;
  };
  if (isCall("pss", 2)) return pss(arguments);
  if (isCall("hello", 4)) return hello(arguments);
  if (isCall("stop", 3)) return stop(arguments);
  if (isCall("usage", 3)) return usage(arguments);
  if (isCall("flood", 4)) return flood(arguments);
  if (isCall("start", 4)) return start(arguments);
  if (isCall("stream", 6)) return stream(arguments);
  std::cerr << "usage: see bench/meter.cpp\n";
  return 2;
}
