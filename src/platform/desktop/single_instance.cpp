#include "platform/desktop/single_instance.h"

#include "core/identity.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <QFile>
#include <QStandardPaths>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

namespace quorin::desktop {

using namespace std::chrono_literals;

namespace {

/// Beyond this the running program is considered hung.
constexpr timeval kTimeout{.tv_sec = 10, .tv_usec = 0};
constexpr std::size_t kMaxDatagram = 16384;

/// The runtime folder is accessible to this user only.
QByteArray path(const char* suffix) {
  const auto folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  return QFile::encodeName(folder + QLatin1Char('/') + QLatin1String(app::kProgramFile)) + suffix;
}

sockaddr_un socketAddress() {
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  qstrncpy(address.sun_path, path(".socket").constData(), sizeof address.sun_path);
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

/// One datagram asks and one answers; a request is its fields with zeros between them.
constexpr QChar kSeparator(u'\0');

}  // namespace

SingleInstance::SingleInstance()
    : lock_(::open(path(".lock").constData(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600)),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  isFirst_ = ::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
  if (!isFirst_ || !lock_) return;
  const auto address = socketAddress();
  ::unlink(address.sun_path);  // left by a killed program
  (void)::bind(socket_.get(), generic(address), sizeof address);
}

void SingleInstance::serve(dispatch::Queue& main,
                           std::function<void(const Request&, Answer)> handler) {
  handler_ = std::move(handler);
  source_ = main.makeReadSource(socket_.get(), [this] { readRequests(); });
}

void SingleInstance::readRequests() {
  std::array<char, kMaxDatagram> data;
  sockaddr_un from{};
  socklen_t size = sizeof from;
  const auto length = ::recvfrom(socket_.get(), data.data(), data.size(), MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr*>(&from), &size);
  if (length < 0) return;
  auto fields = QString::fromUtf8(data.data(), length).split(kSeparator);
  const auto token = fields.takeFirst();
  handler_(
      {.arguments = fields, .activationToken = token}, [this, from, size](const QString& text) {
        const auto answer = text.toUtf8();
        (void)::sendto(socket_.get(), answer.constData(), static_cast<std::size_t>(answer.size()),
                       MSG_DONTWAIT, generic(from), size);
      });
}

QString SingleInstance::handOver(const QStringList& arguments) {
  auto silent = qtTrId("It runs already and does not answer; end that process first.");
  // Autobind, to receive the answer.
  const sockaddr_un unnamed{.sun_family = AF_UNIX, .sun_path = {}};
  (void)::bind(socket_.get(), generic(unnamed), sizeof unnamed.sun_family);
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &kTimeout, sizeof kTimeout);
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &kTimeout, sizeof kTimeout);

  const auto address = socketAddress();
  for (int tries = 20; ::connect(socket_.get(), generic(address), sizeof address) != 0;) {
    if (--tries == 0) return silent;
    std::this_thread::sleep_for(50ms);  // the first may hold the lock but not the socket yet
  }
  auto token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
  if (token.isEmpty()) token = qEnvironmentVariable("DESKTOP_STARTUP_ID");
  const auto request = (QStringList(token) + arguments).join(kSeparator).toUtf8();
  std::array<char, kMaxDatagram> answer;
  if (::send(socket_.get(), request.constData(), static_cast<std::size_t>(request.size()), 0) < 0) {
    return silent;
  }
  const auto length = ::recv(socket_.get(), answer.data(), answer.size(), 0);
  return length < 0 ? silent : QString::fromUtf8(answer.data(), length);
}

}  // namespace quorin::desktop
