// An open socket is one use of Winsock, given back once.
#include <winsock2.h>

#include <gtest/gtest.h>

#include "fixtures/platform/system_facts.h"
#include "platform/datagram_socket.h"

using vanta::DatagramSocket;
using vanta_test::LoopbackReceiver;

namespace {

// Winsock gives no socket to a process that has no use of it left.
bool WinsockIsInUse() {
  const SOCKET file = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (file == INVALID_SOCKET) return false;
  closesocket(file);
  return true;
}

TEST(DatagramSocket, OpenSocketKeepsWinsockInUse) {
  ASSERT_FALSE(WinsockIsInUse());
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  EXPECT_TRUE(WinsockIsInUse());
}

TEST(DatagramSocket, SecondCloseTakesNobodyElsesUseOfWinsock) {
  LoopbackReceiver receiver;
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
