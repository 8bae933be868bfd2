#include "monitor/port_listener.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include "common/failure.h"

namespace vanta_test {
namespace {

using vanta_run::Failure;
using vanta_run::PortListener;

// A socket bound to a port of 127.0.0.1: 0 lets the system choose.
class BoundSocket {
 public:
  explicit BoundSocket(uint16_t port) : file_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = Address(port);
    bound_ = bind(file_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    socklen_t length = sizeof(address);
    getsockname(file_, reinterpret_cast<sockaddr *>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~BoundSocket() { close(file_); }
  BoundSocket(const BoundSocket &) = delete;
  BoundSocket &operator=(const BoundSocket &) = delete;

  void Send(uint16_t port, const std::vector<char> &bytes) const {
    const sockaddr_in address = Address(port);
    EXPECT_EQ(
        sendto(file_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
        static_cast<ssize_t>(bytes.size()));
  }
  bool bound() const { return bound_; }
  uint16_t port() const { return port_; }

 private:
  static sockaddr_in Address(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  int file_;
  bool bound_ = false;
  uint16_t port_ = 0;
};

// A port that was free a moment ago, with another one above it.
uint16_t FreePair() {
  for (;;) {
    const BoundSocket low(0);
    if (low.port() < 65000 && BoundSocket(static_cast<uint16_t>(low.port() + 1)).bound()) return low.port();
  }
}

// On loopback a datagram is there when its sending has returned.
TEST(PortListener, DatagramsOfAllPortsComeWithTheirSender) {
  const uint16_t first = FreePair();
  PortListener listener(first, 2);
  const BoundSocket one(0), two(0);
  one.Send(first, std::vector<char>(56));
  two.Send(static_cast<uint16_t>(first + 1), std::vector<char>(56));
  const auto arrivals = listener.Take();
  ASSERT_EQ(arrivals.size(), 2u);
  EXPECT_EQ(arrivals[0].port, first);
  EXPECT_EQ(arrivals[0].sender, one.port());
  EXPECT_EQ(arrivals[1].port, first + 1);
  EXPECT_EQ(arrivals[1].sender, two.port());
}

TEST(PortListener, TakesNothingWithoutWaiting) {
  PortListener listener(FreePair(), 2);
  EXPECT_TRUE(listener.Take().empty());
}

TEST(PortListener, StrangeDatagramsAreCountedAndLeftOut) {
  const uint16_t first = FreePair();
  PortListener listener(first, 1);
  const BoundSocket sender(0);
  for (const size_t size : {size_t{0}, size_t{55}, size_t{57}, size_t{2000}})
    sender.Send(first, std::vector<char>(size));
  EXPECT_TRUE(listener.Take().empty());
  EXPECT_EQ(listener.strange(), 4u);
}

TEST(PortListener, SecondListenerOnTheFirstPortIsRefused) {
  const uint16_t first = FreePair();
  const PortListener listener(first, 1);
  try {
    const PortListener second(first, 1);
    FAIL() << "two listeners on one port";
  } catch (const Failure &failure) {
    EXPECT_EQ(failure.code(), vanta_run::kExitBusy);
    EXPECT_EQ(std::string(failure.what()),
              "port " + std::to_string(first) + ": another monitor is running and has it; stop that one first");
  }
}

TEST(PortListener, LaterPortThatIsTakenIsNamedAndTheOthersWork) {
  const uint16_t first = FreePair();
  const BoundSocket other(static_cast<uint16_t>(first + 1));
  ASSERT_TRUE(other.bound());
  PortListener listener(first, 2);
  EXPECT_EQ(listener.taken(), std::vector<uint16_t>{static_cast<uint16_t>(first + 1)});
  other.Send(first, std::vector<char>(56));
  EXPECT_EQ(listener.Take().size(), 1u);
}

}  // namespace
}  // namespace vanta_test
