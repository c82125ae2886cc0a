#include "field/field.h"
#include "measure/arrival_statistics.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

// The Wi-Fi server among phones in a network of their own.
//   field_bench phones DEAD   ten phones, DEAD of which leave the network: what a remaining one
//   receives field_bench flood SOURCES TEXT...
//                             2000 datagrams a second: each source says all texts, then the next
//                             one does; what that costs, in % of a core
namespace quorin::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kDuration{10};

std::string address(int phone) {
  return "10.11.0." + std::to_string(101 + phone);
}

/// The computer is 10.11.0.2 on eth0.
class Phones : public field::Place {
 public:
  Phones() {
    wireTo("eth0", "phone0");
    field::ip("address add 10.11.0.2/24 dev eth0");
    for (int i = 0; i < 10; ++i) ip("address add " + address(i) + "/24 dev phone0");
  }
};

void phones(int dead) {
  const Phones place;
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

double processorSeconds() {
  timespec used{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

void flood(int sources, std::span<char*> texts) {
  const Phones place;
  field::Computer computer;
  for (int i = 0; i < sources; ++i) computer.newPhone(place, address(0));
  std::atomic<double> own = 0;  // of the flooding thread
  const auto before = processorSeconds();
  std::thread flooding([&] {
    auto next = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < static_cast<std::size_t>(2000 * kDuration.count()); ++i) {
      auto& phone = *computer.phones[i / texts.size() % computer.phones.size()];
      phone.says(texts[i % texts.size()]);
      std::this_thread::sleep_until(next += 500us);
    }
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    own = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
  });
  QEventLoop loop;
  QTimer::singleShot(kDuration, &loop, &QEventLoop::quit);
  loop.exec();
  const auto used = processorSeconds() - before;
  flooding.join();
  std::printf("processor %.2f\n", 100 * (used - own) / static_cast<double>(kDuration.count()));
}

}  // namespace
}  // namespace quorin::bench

int main(int argc, char** argv) {
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  if (argc < 3 || (std::strcmp(argv[1], "flood") == 0 && argc < 4) ||
      !quorin::field::enterField()) {
    std::fputs("field_bench: phones DEAD | flood SOURCES TEXT..., as root\n", stderr);
    return 2;
  }
  const QCoreApplication application(argc, argv);
  if (std::strcmp(argv[1], "phones") == 0) {
    quorin::bench::phones(std::atoi(argv[2]));
  } else {
    quorin::bench::flood(std::atoi(argv[2]), arguments.subspan(3));
  }
  return 0;
}
