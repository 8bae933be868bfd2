// A UDP socket for local statistics.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vanta {

// Owns: one socket. Closing twice is harmless. Threads: confined by the owner.
class DatagramSocket {
 public:
  DatagramSocket() = default;
  ~DatagramSocket();
  DatagramSocket(const DatagramSocket &) = delete;
  DatagramSocket &operator=(const DatagramSocket &) = delete;

  bool Open();                      // starts the system's socket library first, where it has one
  void SetLoopbackDestination(uint16_t port);
  bool Send(const void *data, size_t size);  // false on a closed socket too
  void Close();

 private:
  intptr_t socket_ = -1;
  bool library_started_ = false;
  uint16_t port_ = 0;
};

}  // namespace vanta
