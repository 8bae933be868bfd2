// A UDP socket for local statistics.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vanta {

// Owns: one socket, and with it one use of the system's socket library where there is such a thing.
// Threads: confined by the owner.
class DatagramSocket {
 public:
  DatagramSocket() = default;
  ~DatagramSocket();
  DatagramSocket(const DatagramSocket &) = delete;
  DatagramSocket &operator=(const DatagramSocket &) = delete;

  // False when the system gives no socket. An open socket is closed first.
  bool Open();
  void SetLoopbackDestination(uint16_t port);
  // Whole or not at all; false on a closed socket too.
  bool Send(const void *data, size_t size);
  // Harmless when closed: the system may have given the same number to somebody else since.
  void Close();

 private:
  static constexpr intptr_t kClosed = -1;

  intptr_t socket_ = kClosed;
  uint16_t port_ = 0;
};

}  // namespace vanta
