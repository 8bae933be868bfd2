#include <winsock2.h>

#include <limits>

#include "platform/datagram_socket.h"

namespace vanta {

namespace {

constexpr WORD kWinsockVersion = 0x0202;  // 2.2

}  // namespace

static_assert(static_cast<intptr_t>(INVALID_SOCKET) == -1, "the closed mark must be no socket");

DatagramSocket::~DatagramSocket() {
  Close();
}

// Each open socket keeps one use of Winsock.
bool DatagramSocket::Open() {
  Close();
  WSADATA data{};
  if (WSAStartup(kWinsockVersion, &data) != 0) return false;
  socket_ = static_cast<intptr_t>(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
  if (socket_ == kClosed) {
    WSACleanup();
    return false;
  }
  return true;
}

void DatagramSocket::SetLoopbackDestination(uint16_t port) {
  port_ = port;
}

bool DatagramSocket::Send(const void *data, size_t size) {
  if (socket_ == kClosed || size > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port_);
  address.sin_addr.s_addr = inet_addr("127.0.0.1");
  const int sent = sendto(static_cast<SOCKET>(socket_), static_cast<const char *>(data), static_cast<int>(size), 0,
                          reinterpret_cast<const sockaddr *>(&address), sizeof(address));
  return sent >= 0 && static_cast<size_t>(sent) == size;
}

void DatagramSocket::Close() {
  if (socket_ == kClosed) return;
  closesocket(static_cast<SOCKET>(socket_));
  WSACleanup();
  socket_ = kClosed;
}

}  // namespace vanta
