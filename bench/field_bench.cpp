#include "field/field.h"
#include "measure/arrival_statistics.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <string>

// field_bench DEAD: ten phones in a network of their own, DEAD of which leave it without a word:
// what a remaining one receives.
namespace quorin::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kDuration{10};

std::string address(int phone) {
  return "10.11.0." + std::to_string(101 + phone);
}

void phones(int dead) {
  field::Place place;
  place.wireTo("eth0", "phone0");
  field::ip("address add 10.11.0.2/24 dev eth0");
  for (int i = 0; i < 10; ++i) place.ip("address add " + address(i) + "/24 dev phone0");
  field::Computer computer;
  for (int i = 0; i < 10; ++i) computer.newClient(place, address(i));
  for (int i = 0; i < dead; ++i) place.ip("address del " + address(9 - i) + "/24 dev phone0");
  field::ip("neighbour flush all");

  auto& live = *computer.phones.front();
  live.arrivals.clear();
  for (auto time = 0s; time < kDuration; time += 1s) {
    for (int i = 0; i < 10 - dead; ++i) {
      computer.phones[static_cast<std::size_t>(i)]->says("<<PING>>");
    }
    computer.runFor(1s);
  }
  computer.runFor(50ms);
  measure::ArrivalStatistics statistics;
  for (const auto arrival : live.arrivals) statistics.add(arrival, wire::kChunkFrames);
  const auto deviation = statistics.deviation();
  std::printf("deviation_p50 %.3f\ndeviation_p99 %.3f\nreceived %zu\n", deviation.p50,
              deviation.p99, live.heardWithin(kDuration));
}

}  // namespace
}  // namespace quorin::bench

int main(int argc, char** argv) {
  if (argc != 2 || !quorin::test::enterOwnNetwork()) {
    std::fputs("usage: field_bench DEAD, as root\n", stderr);
    return 2;
  }
  const QCoreApplication application(argc, argv);
  quorin::bench::phones(std::atoi(argv[1]));
  return 0;
}
