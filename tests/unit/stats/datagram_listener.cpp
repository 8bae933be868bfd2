#include "datagram_listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "support/wait.h"

namespace vanta_test {

ListenerTurn::ListenerTurn() {
  const std::string path = (std::filesystem::temp_directory_path() / "vanta_statistics_ports.lock").string();
  file_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  flock(file_, LOCK_EX);
}

ListenerTurn::~ListenerTurn() {
  close(file_);
}

DatagramListener::DatagramListener(uint16_t port)
    : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP)), bound_(false) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bound_ = bind(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
  const timeval watchdog = {std::chrono::seconds(kWatchdog).count(), 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &watchdog, sizeof(watchdog));
}

DatagramListener::~DatagramListener() {
  close(socket_);
}

std::vector<std::byte> DatagramListener::ReceiveMarked(float mark) {
  for (;;) {
    std::vector<std::byte> datagram(2048);
    const ssize_t size = recv(socket_, datagram.data(), datagram.size(), 0);
    if (size < 0) return {};
    datagram.resize(static_cast<size_t>(size));
    float first = 0;
    if (datagram.size() >= sizeof(first)) std::memcpy(&first, datagram.data(), sizeof(first));
    if (first == mark) return datagram;
  }
}

}  // namespace vanta_test
