#include "platform/datagram_socket.h"

#include <gtest/gtest.h>

#include <vector>

#include "fixtures/platform/system_facts.h"

using vanta::DatagramSocket;
using vanta_test::LoopbackReceiver;

namespace {

TEST(DatagramSocket, SendsOneDatagramToTheLoopbackPort) {
  LoopbackReceiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port());
  EXPECT_TRUE(socket.Send("frame", 5));
  EXPECT_EQ(receiver.Receive(), "frame");
}

TEST(DatagramSocket, SendsWhetherSomebodyListensOrNot) {
  uint16_t port;
  { port = LoopbackReceiver().port(); }
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(port);
  EXPECT_TRUE(socket.Send("frame", 5));
  EXPECT_TRUE(socket.Send("frame", 5));
}

TEST(DatagramSocket, SendBeforeOpenIsRefused) {
  DatagramSocket socket;
  EXPECT_FALSE(socket.Send("frame", 5));
}

TEST(DatagramSocket, SendAfterCloseIsRefused) {
  LoopbackReceiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port());
  socket.Close();
  EXPECT_FALSE(socket.Send("frame", 5));
}

TEST(DatagramSocket, DatagramTooLargeForTheSystemIsRefused) {
  LoopbackReceiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port());
  const std::vector<char> data(70'000);
  EXPECT_FALSE(socket.Send(data.data(), data.size()));
}

}  // namespace
