// A signal on the host's global signal handler.
#pragma once

#include <callback/calldata.h>
#include <callback/signal.h>
#include <obs.h>

namespace vanta {

// Owns: the signal's arguments. Threads: the one that makes it; receivers run on it too.
class HostSignal {
 public:
  HostSignal() { calldata_init(&data_); }
  ~HostSignal() { calldata_free(&data_); }
  HostSignal(const HostSignal &) = delete;
  HostSignal &operator=(const HostSignal &) = delete;

  calldata_t *arguments() { return &data_; }
  void Send(const char *name) { signal_handler_signal(obs_get_signal_handler(), name, &data_); }

 private:
  calldata_t data_;
};

}  // namespace vanta
