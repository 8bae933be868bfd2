// A socket is a descriptor: closed once, and nobody else's.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "platform/datagram_socket.h"

using vanta::DatagramSocket;

namespace {

// The number that the system would give out next.
int NextDescriptor() {
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(file);
  return file;
}

TEST(DatagramSocket, SecondCloseLeavesAnothersDescriptorAlone) {
  const int number = NextDescriptor();
  auto socket = std::make_unique<DatagramSocket>();
  ASSERT_TRUE(socket->Open());
  socket->Close();
  const int other = open("/dev/null", O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(other, number);
  socket->Close();
  socket.reset();
  EXPECT_NE(fcntl(other, F_GETFD), -1);
  close(other);
}

TEST(DatagramSocket, DestructionClosesTheSocket) {
  const int number = NextDescriptor();
  {
    DatagramSocket socket;
    ASSERT_TRUE(socket.Open());
    ASSERT_NE(NextDescriptor(), number);
  }
  EXPECT_EQ(NextDescriptor(), number);
}

TEST(DatagramSocket, OpeningAgainClosesTheFormerSocket) {
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  const int number = NextDescriptor();
  ASSERT_TRUE(socket.Open());
  EXPECT_EQ(NextDescriptor(), number);
}

TEST(DatagramSocket, SocketIsNotInheritedByChildPrograms) {
  const int number = NextDescriptor();
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  EXPECT_NE(fcntl(number, F_GETFD) & FD_CLOEXEC, 0);
}

}  // namespace
