#include "platform/posix/program.h"

#include "core/log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <new>
#include <string>
#include <thread>

namespace quorin::posix {
namespace {

using Launch = int (*)(int, char**);
using ::testing::ExitedWithCode;

/// A program whose `main` is `launch`, in a process of its own; its exit status.
int run(Launch launch) {
  ::alarm(20);  // what waits for ever fails
  return runProgram("program", 0, nullptr, launch);
}

std::array<int, 2> replaceByPipe(int stream) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  ::dup2(ends[1], stream);
  return ends;
}

TEST(Program, AClosedStreamIsTakenByNothingElse) {
  const auto program = [] {
    for (const int stream : {0, 1, 2}) ::close(stream);
    return run([](int, char**) { return ::open("/dev/zero", O_RDONLY) > 2 ? 7 : 1; });
  };
  EXPECT_EXIT(std::_Exit(program()), ExitedWithCode(7), "");
}

TEST(Program, GoesOnWhenTheReaderOfItsOutputGoesAway) {
  const auto program = [] {
    const auto ends = replaceByPipe(STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
    return run([](int, char**) {
      for (int i = 0; i < 100; ++i) log::print("a line");
      return 7;
    });
  };
  EXPECT_EXIT(std::_Exit(program()), ExitedWithCode(7), "");
}

TEST(Program, NoThreadWaitsForASlowReaderOfItsLogWhichCountsWhatItMissed) {
  const auto program = [] {
    static int reader = -1;
    reader = replaceByPipe(STDERR_FILENO)[0];
    return run([](int, char**) {
      const auto flood = [] {
        for (int i = 0; i < 3000; ++i) log::note("test", std::string(500, 'x'));
      };
      std::jthread other(flood);
      flood();
      other.join();
      const auto drain = [] {
        std::string all(1 << 20, '\0');
        all.resize(static_cast<std::size_t>(::read(reader, all.data(), all.size())));
        return all;
      };
      drain();
      log::note("test", "after it");
      const auto line = drain();
      return line.contains(" lines were not read and lost)\n") && line.ends_with("after it\n") ? 7
                                                                                               : 1;
    });
  };
  EXPECT_EXIT(std::_Exit(program()), ExitedWithCode(7), "");
}

TEST(Program, TooFewDescriptorsAreASentence) {
  const auto program = [] {
    const rlimit few{.rlim_cur = 16, .rlim_max = 16};
    ::setrlimit(RLIMIT_NOFILE, &few);
    return run([](int, char**) { return 7; });
  };
  EXPECT_EXIT(std::_Exit(program()), ExitedWithCode(1), "^program: There are too few file desc");
}

TEST(Program, TooLittleMemoryIsASentenceOnEveryThread) {
  const auto limited = [] {
    const rlimit little{.rlim_cur = 1 << 29, .rlim_max = 1 << 29};
    ::setrlimit(RLIMIT_AS, &little);
    return run([](int, char**) { return 7; });
  };
  EXPECT_EXIT(std::_Exit(limited()), ExitedWithCode(1), "^program: There is too little memory");
  const auto elsewhere = [] {
    return run([](int, char**) {
      std::thread([] { throw std::bad_alloc(); }).join();
      return 7;
    });
  };
  EXPECT_EXIT(std::_Exit(elsewhere()), ExitedWithCode(1), "^program: There is too little memory");
}

}  // namespace
}  // namespace quorin::posix
