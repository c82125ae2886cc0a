#include "support/own_network.h"

#include "platform/posix/file_descriptor.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace quorin::test {

bool enterOwnNetwork() {
  const int asUser = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
  if (::unshare(CLONE_NEWNET | asUser) != 0) return false;
  const posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq loopback{};
  std::strncpy(loopback.ifr_name, "lo", sizeof loopback.ifr_name - 1);
  loopback.ifr_flags = IFF_UP;
  return ::ioctl(socket.get(), SIOCSIFFLAGS, &loopback) == 0;
}

void ip(const std::string& arguments) {
  if (std::system(("ip " + arguments).c_str()) != 0) throw std::runtime_error("ip " + arguments);
}

}  // namespace quorin::test
