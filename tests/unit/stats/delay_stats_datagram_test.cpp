#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "fixtures/process/datagram_listener.h"
#include "fixtures/process/video_rate.h"
#include "stats/delay_stats.h"

using vanta::DelayStats;
using vanta_test::DatagramListener;

namespace {

std::atomic<bool> sendto_fails{false};
std::atomic<int> sendto_calls{0};
std::atomic<int> last_sendto_socket{-1};
std::atomic<bool> socket_fails{false};

template <typename T>
T Field(const std::vector<std::byte> &datagram, size_t offset) {
  T value{};
  std::memcpy(&value, datagram.data() + offset, sizeof(value));
  return value;
}

// No other process of these tests reports this mean.
float OwnMark() {
  return 1.0f + static_cast<float>(getpid());
}

}  // namespace

// In place of the C library's, so that they can be told to fail.
extern "C" ssize_t sendto(int socket, const void *data, size_t size, int flags, const sockaddr *address,
                          socklen_t length) {
  ++sendto_calls;
  last_sendto_socket = socket;
  if (sendto_fails) {
    errno = ENETUNREACH;
    return -1;
  }
  return syscall(SYS_sendto, socket, data, size, flags, address, length);
}

extern "C" int socket(int domain, int type, int protocol) noexcept {
  if (socket_fails) {
    errno = EMFILE;
    return -1;
  }
  return static_cast<int>(syscall(SYS_socket, domain, type, protocol));
}

namespace {

TEST(DelayStatsDatagram, HoldsTheIntervalsFiguresAtTheirOffsets) {
  const vanta_test::ListenerTurn turn;
  DatagramListener listener(12345);
  ASSERT_TRUE(listener.Bound());
  const float mark = OwnMark();
  vanta_test::SetVideoRate(30, 1);
  DelayStats stats;
  stats.OnFrameProcessed(mark - 0.5f, 3.0f, 5.0f, 1);
  stats.OnFrameProcessed(mark + 0.5f, 4.0f, 8.0f, 1);
  for (int i = 0; i < 3; ++i) stats.OnFrameArrived();
  for (int misses : {2, 3, 1, 1}) {
    while (misses-- > 0) stats.OnEmptyDequeue();
    stats.OnFrameOut(1);
  }
  stats.MakeSample();
  const std::vector<std::byte> datagram = listener.ReceiveMarked(mark);
  ASSERT_EQ(datagram.size(), 56u);
  EXPECT_EQ(Field<float>(datagram, 0), mark);
  EXPECT_EQ(Field<float>(datagram, 4), mark + 0.5f);
  EXPECT_EQ(Field<float>(datagram, 8), mark - 0.5f);
  EXPECT_EQ(Field<float>(datagram, 12), 3.5f);
  EXPECT_EQ(Field<float>(datagram, 16), 4.0f);
  EXPECT_EQ(Field<float>(datagram, 20), 3.0f);
  EXPECT_EQ(Field<float>(datagram, 24), 6.5f);
  EXPECT_EQ(Field<float>(datagram, 28), 8.0f);
  EXPECT_EQ(Field<float>(datagram, 32), 5.0f);
  EXPECT_EQ(Field<int32_t>(datagram, 36), 3);       // arrived
  EXPECT_EQ(Field<int32_t>(datagram, 40), 2);       // rendered
  EXPECT_EQ(Field<int32_t>(datagram, 44), 3);       // janks
  EXPECT_EQ(Field<int32_t>(datagram, 48), 1);       // big janks
  EXPECT_EQ(Field<int32_t>(datagram, 52), 7 * 33);  // milliseconds at 30 frames a second
}

TEST(DelayStatsDatagram, TwoMissesTakeTwiceTheFrameInterval) {
  const vanta_test::ListenerTurn turn;
  DatagramListener listener(12345);
  ASSERT_TRUE(listener.Bound());
  vanta_test::SetVideoRate(25, 1);
  DelayStats stats;
  stats.OnFrameProcessed(OwnMark(), 0, 0, 0);
  stats.OnEmptyDequeue();
  stats.OnEmptyDequeue();
  stats.OnFrameOut(1);
  stats.MakeSample();
  const std::vector<std::byte> datagram = listener.ReceiveMarked(OwnMark());
  ASSERT_EQ(datagram.size(), 56u);
  EXPECT_EQ(Field<int32_t>(datagram, 44), 1);
  EXPECT_EQ(Field<int32_t>(datagram, 52), 80);
}

TEST(DelayStatsDatagram, SecondSourceOfTheProcessSendsToTheNextPort) {
  const vanta_test::ListenerTurn turn;
  DatagramListener first_listener(12345), second_listener(12346);
  ASSERT_TRUE(first_listener.Bound() && second_listener.Bound());
  DelayStats first, second;
  second.OnFrameProcessed(OwnMark(), 0, 0, 0);
  second.MakeSample();
  EXPECT_EQ(second_listener.ReceiveMarked(OwnMark()).size(), 56u);
}

TEST(DelayStatsDatagram, PortsAreNotGivenBack) {
  const vanta_test::ListenerTurn turn;
  DatagramListener listener(12346);
  ASSERT_TRUE(listener.Bound());
  { DelayStats gone; }
  DelayStats stats;
  stats.OnFrameProcessed(OwnMark(), 0, 0, 0);
  stats.MakeSample();
  EXPECT_EQ(listener.ReceiveMarked(OwnMark()).size(), 56u);
}

TEST(DelayStatsDatagram, SourceWithoutASocketTakesNoPort) {
  const vanta_test::ListenerTurn turn;
  DatagramListener listener(12345);
  ASSERT_TRUE(listener.Bound());
  socket_fails = true;
  DelayStats without;
  socket_fails = false;
  DelayStats stats;
  stats.OnFrameProcessed(OwnMark(), 0, 0, 0);
  stats.MakeSample();
  EXPECT_EQ(listener.ReceiveMarked(OwnMark()).size(), 56u);
}

TEST(DelayStatsDatagram, SampleThatIsThrownAwayIsSentToo) {
  DelayStats stats;
  for (int i = 0; i < 151; ++i) stats.OnFrameProcessed(1, 1, 1, 1);
  stats.OnFrameArrived();
  EXPECT_EQ(sendto_calls, 1);
}

TEST(DelayStatsDatagram, FailedSendEndsTheDatagramsAndNotTheSamples) {
  DelayStats stats;
  sendto_fails = true;
  stats.MakeSample();
  sendto_fails = false;
  stats.OnFrameArrived();
  EXPECT_EQ(stats.MakeSample().arrived_max, 1);
  EXPECT_EQ(sendto_calls, 1);
}

TEST(DelayStatsDatagram, FailedSendClosesItsOwnSocketOnly) {
  auto stats = std::make_unique<DelayStats>();
  sendto_fails = true;
  stats->MakeSample();
  const int closed = last_sendto_socket;
  ASSERT_EQ(fcntl(closed, F_GETFD), -1);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  ASSERT_TRUE(ends[0] == closed || ends[1] == closed);  // somebody else has the number now
  stats->MakeSample();
  stats.reset();
  EXPECT_NE(fcntl(ends[0], F_GETFD), -1);
  EXPECT_NE(fcntl(ends[1], F_GETFD), -1);
  close(ends[0]);
  close(ends[1]);
}

TEST(DelayStatsDatagram, ManySourcesLeaveNoDescriptorBehind) {
  const int before = dup(0);
  close(before);
  for (int i = 0; i < 100; ++i) {
    DelayStats stats;
    stats.MakeSample();
  }
  const int after = dup(0);
  close(after);
  EXPECT_EQ(after, before);
}

}  // namespace
