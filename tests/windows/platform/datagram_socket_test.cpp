#include "platform/datagram_socket.h"

#include <winsock2.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using vanta::DatagramSocket;

namespace {

// A loopback socket on a port of the system's choice.
struct Receiver {
  Receiver() {
    WSADATA data;
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
    file = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(file, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    int length = sizeof(address);
    EXPECT_EQ(getsockname(file, reinterpret_cast<sockaddr *>(&address), &length), 0);
    port = ntohs(address.sin_port);
  }
  ~Receiver() {
    closesocket(file);
    WSACleanup();
  }
  std::string Receive() const {
    char text[64];
    const int size = recv(file, text, sizeof(text), 0);
    return size < 0 ? "" : std::string(text, static_cast<size_t>(size));
  }
  SOCKET file = INVALID_SOCKET;
  uint16_t port = 0;
};

// Winsock gives no socket to a process that has no use of it left.
bool WinsockIsInUse() {
  const SOCKET file = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (file == INVALID_SOCKET) return false;
  closesocket(file);
  return true;
}

TEST(DatagramSocket, SendsOneDatagramToTheLoopbackPort) {
  Receiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port);
  EXPECT_TRUE(socket.Send("frame", 5));
  EXPECT_EQ(receiver.Receive(), "frame");
}

TEST(DatagramSocket, SendBeforeOpenIsRefused) {
  DatagramSocket socket;
  EXPECT_FALSE(socket.Send("frame", 5));
}

TEST(DatagramSocket, SendAfterCloseIsRefused) {
  Receiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port);
  socket.Close();
  EXPECT_FALSE(socket.Send("frame", 5));
}

TEST(DatagramSocket, DatagramTooLargeForTheSystemIsRefused) {
  Receiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port);
  const std::vector<char> data(70'000);
  EXPECT_FALSE(socket.Send(data.data(), data.size()));
}

TEST(DatagramSocket, OpenSocketKeepsWinsockInUse) {
  ASSERT_FALSE(WinsockIsInUse());
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  EXPECT_TRUE(WinsockIsInUse());
}

TEST(DatagramSocket, SecondCloseTakesNobodyElsesUseOfWinsock) {
  Receiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.Close();
  socket.Close();
  EXPECT_TRUE(WinsockIsInUse());
}

TEST(DatagramSocket, DestructionGivesItsUseOfWinsockBack) {
  {
    DatagramSocket socket;
    ASSERT_TRUE(socket.Open());
  }
  EXPECT_FALSE(WinsockIsInUse());
}

}  // namespace
