#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/datagram_socket.h"

namespace vanta {

DatagramSocket::~DatagramSocket() {
  Close();
}

bool DatagramSocket::Open() {
  Close();
  socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  return socket_ != kClosed;
}

void DatagramSocket::SetLoopbackDestination(uint16_t port) {
  port_ = port;
}

bool DatagramSocket::Send(const void *data, size_t size) {
  if (socket_ == kClosed) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port_);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const ssize_t sent = sendto(static_cast<int>(socket_), data, size, MSG_NOSIGNAL,
                              reinterpret_cast<const sockaddr *>(&address), sizeof(address));
  return sent >= 0 && static_cast<size_t>(sent) == size;
}

void DatagramSocket::Close() {
  if (socket_ == kClosed) return;
  close(static_cast<int>(socket_));
  socket_ = kClosed;
}

}  // namespace vanta
