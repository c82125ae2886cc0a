#include "platform/posix/program.h"

#include "core/log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <new>
#include <string>
#include <thread>

namespace quorin::posix {
namespace {

using Launch = int (*)(int, char**);
using ::testing::ExitedWithCode;

/// A program whose `main` is `launch`, in a process whose `surroundings` were made first; it is to
/// end with 7, or with 1 and the sentence.
int run(const std::function<void()>& surroundings, Launch launch) {
  ::alarm(20);  // what waits for ever fails
  surroundings();
  return runProgram("program", 0, nullptr, launch);
}
void expectSeven(const std::function<void()>& surroundings, Launch launch) {
  EXPECT_EXIT(std::_Exit(run(surroundings, launch)), ExitedWithCode(7), "");
}
void expectSentence(
    const std::string& sentence, const std::function<void()>& surroundings,
    Launch launch = [](int, char**) { return 7; }) {
  EXPECT_EXIT(std::_Exit(run(surroundings, launch)), ExitedWithCode(1), "^program: " + sentence);
}

std::array<int, 2> replaceByPipe(int stream) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  ::dup2(ends[1], stream);
  return ends;
}

TEST(Program, AClosedStreamIsTakenByNothingElse) {
  expectSeven(
      [] {
        for (const int stream : {0, 1, 2}) ::close(stream);
      },
      [](int, char**) { return ::open("/dev/zero", O_RDONLY) > 2 ? 7 : 1; });
}

TEST(Program, GoesOnWhenTheReaderOfItsOutputGoesAway) {
  expectSeven(
      [] {
        for (const int end : replaceByPipe(STDOUT_FILENO)) ::close(end);
      },
      [](int, char**) {
        log::print("a line");
        return 7;
      });
}

TEST(Program, NoThreadWaitsForASlowReaderOfItsLogWhichCountsWhatItMissed) {
  static int reader = -1;
  expectSeven(
      [] { reader = replaceByPipe(STDERR_FILENO)[0]; },
      [](int, char**) {
        const auto flood = [] {
          for (int i = 0; i < 3000; ++i) log::note("test", std::string(500, 'x'));
        };
        std::thread other(flood);
        flood();
        other.join();
        std::string all(1 << 20, '\0');
        (void)::read(reader, all.data(), all.size());
        log::note("test", "after it");
        all.resize(static_cast<std::size_t>(::read(reader, all.data(), all.size())));
        return all.contains(" lines were not read and lost)\n") && all.ends_with("after it\n") ? 7
                                                                                               : 1;
      });
}

TEST(Program, TooLittleOfAnythingIsASentenceOnEveryThread) {
  const auto limit = [](int resource, rlim_t value) {
    return [=] {
      const rlimit little{.rlim_cur = value, .rlim_max = value};
      ::setrlimit(static_cast<__rlimit_resource_t>(resource), &little);
    };
  };
  expectSentence("There are too few file desc", limit(RLIMIT_NOFILE, 16));
  expectSentence("There is too little memory", limit(RLIMIT_AS, 1 << 29));
  expectSentence(
      "There is too little memory", [] {},
      [](int, char**) {
        std::thread([] { throw std::bad_alloc(); }).join();
        return 7;
      });
}

}  // namespace
}  // namespace quorin::posix
