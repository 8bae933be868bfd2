#include "monitor/port_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "common/failure.h"
#include "monitor/datagram.h"

namespace vanta_run {
namespace {

// Of one port and call, so that a flood on it does not hold up the others.
constexpr int kMostAtOnce = 64;

[[noreturn]] void CannotListen(uint16_t number, int error) {
  const std::string port = "port " + std::to_string(number);
  if (error == EADDRINUSE) {
    throw Failure(kExitBusy, port, "another monitor is running and has it", "stop that one first");
  }
  throw Failure(kExitBusy, port, std::strerror(error), "let this program listen on 127.0.0.1");
}

}  // namespace

PortListener::PortListener(uint16_t first, size_t count) {
  for (size_t i = 0; i < count && first + i <= UINT16_MAX; ++i) {
    const auto number = static_cast<uint16_t>(first + i);
    if (Listen(number)) continue;
    const int error = errno;
    if (i == 0) CannotListen(number, error);
    taken_.push_back(number);
  }
}

PortListener::~PortListener() {
  for (const Port &port : ports_) close(port.socket);
}

// Without SO_REUSEADDR: a second listener would silently take the first one's datagrams.
bool PortListener::Listen(uint16_t number) {
  const int file = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_UDP);
  if (file < 0) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(number);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(file, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
    const int error = errno;
    close(file);
    errno = error;
    return false;
  }
  ports_.push_back({number, file});
  return true;
}

std::vector<Arrival> PortListener::Take() {
  std::vector<Arrival> arrivals;
  for (const Port &port : ports_) {
    for (int i = 0; i < kMostAtOnce; ++i) {
      char datagram[sizeof(vanta::IntervalFigures) + 1];  // one more, so that a longer one shows
      sockaddr_in from{};
      socklen_t length = sizeof(from);
      const ssize_t size =
          recvfrom(port.socket, datagram, sizeof(datagram), 0, reinterpret_cast<sockaddr *>(&from), &length);
      if (size < 0) break;
      if (const auto figures = DecodeDatagram(datagram, static_cast<size_t>(size))) {
        arrivals.push_back({port.number, ntohs(from.sin_port), *figures});
      } else {
        ++strange_;
      }
    }
  }
  return arrivals;
}

}  // namespace vanta_run
