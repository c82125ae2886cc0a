// Measures one sender; bench.sh calls it and makes the table. Every figure is one line, "NAME
// VALUE".
//
//   quorin-meter SECONDS PROCESS SINK PLAYER FROM CLIENTS
//     PLAYER: the player's buffer in ms, or "default";  FROM: see bench/stream_run.h
#include "bench/stream_run.h"

#include <cstdio>
#include <string>

namespace {

void print(const std::string& name, double value) {
  std::printf("%s %.4f\n", name.c_str(), value);
}

void print(const std::string& name, const quorin::measure::Spread& spread) {
  print(name + "_p50", spread.p50);
  print(name + "_p99", spread.p99);
  print(name + "_max", spread.max);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    std::fputs("usage: see bench/meter.cpp\n", stderr);
    return 2;
  }
  const std::string player = argv[4];
  quorin::bench::RunPlan plan{.from = argv[5],
                              .clients = std::stoi(argv[6]),
                              .sender = std::stoi(argv[2]),
                              .sink = argv[3],
                              .player = {},
                              .duration = std::chrono::seconds(std::stoi(argv[1]))};
  if (player != "default") plan.player = std::chrono::milliseconds(std::stoi(player));
  const auto result = quorin::bench::measureStream(plan);
  if (!result) {
    std::fprintf(stderr, "quorin-meter: %s\n", result.error().c_str());
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
