// The local monitor's side of the statistics datagrams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vanta_test {

// Holds the right to listen on the statistics ports of this machine: test processes run side by side.
// Owns: a lock file, from construction to destruction.
class ListenerTurn {
 public:
  ListenerTurn();
  ~ListenerTurn();
  ListenerTurn(const ListenerTurn &) = delete;
  ListenerTurn &operator=(const ListenerTurn &) = delete;

 private:
  int file_;
};

// Owns: a socket bound to a loopback port, while a ListenerTurn is held.
class DatagramListener {
 public:
  explicit DatagramListener(uint16_t port);
  ~DatagramListener();
  DatagramListener(const DatagramListener &) = delete;
  DatagramListener &operator=(const DatagramListener &) = delete;

  bool Bound() const { return bound_; }
  // The next datagram whose first float is `mark`: other processes send to the same ports. Empty when the watchdog
  // bites.
  std::vector<std::byte> ReceiveMarked(float mark);

 private:
  int socket_;
  bool bound_;
};

}  // namespace vanta_test
