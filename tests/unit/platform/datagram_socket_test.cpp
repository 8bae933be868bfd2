#include "platform/datagram_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using vanta::DatagramSocket;

namespace {

// A loopback socket on a port of the system's choice.
struct Receiver {
  Receiver() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(file, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    socklen_t length = sizeof(address);
    EXPECT_EQ(getsockname(file, reinterpret_cast<sockaddr *>(&address), &length), 0);
    port = ntohs(address.sin_port);
  }
  ~Receiver() { close(file); }
  std::string Receive() const {
    char text[64];
    const ssize_t size = recv(file, text, sizeof(text), 0);
    return size < 0 ? "" : std::string(text, static_cast<size_t>(size));
  }
  int file = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  uint16_t port = 0;
};

// The number that the system would give out next.
int NextDescriptor() {
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(file);
  return file;
}

TEST(DatagramSocket, SendsOneDatagramToTheLoopbackPort) {
  Receiver receiver;
  DatagramSocket socket;
  ASSERT_TRUE(socket.Open());
  socket.SetLoopbackDestination(receiver.port);
  EXPECT_TRUE(socket.Send("frame", 5));
  EXPECT_EQ(receiver.Receive(), "frame");
}

TEST(DatagramSocket, SendsWhetherSomebodyListensOrNot) {
  uint16_t port;
  { port = Receiver().port; }
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
