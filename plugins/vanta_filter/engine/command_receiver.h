// Where a command of the control object goes: to whoever has a processor.
#pragma once

#include <functional>
#include <tuple>
#include <type_traits>

#include "engine/lumivex_processor.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta {

class FaceBeautyFilterWorker;

// Threads: any.
class CommandReceiver {
 public:
  using EngineCall = std::function<void(LumivexProcessor &)>;

  // Makes the call by the host's option: ahead of the next frame, or at once. Nothing where there is no processor.
  virtual void Forward(EngineCall call) = 0;
  // Forwards one operation of the processor. The arguments are copied.
  template <typename... Params, typename... Args>
  void Command(void (IFaceless::*operation)(Params...), const Args &...args) {
    Forward([operation, copies = std::tuple<std::decay_t<Params>...>(args...)](LumivexProcessor &render) {
      std::apply([&](const auto &...values) { (render.*operation)(values...); }, copies);
    });
  }

 protected:
  ~CommandReceiver() = default;
};

// The receiver that a worker has. The control object knows workers by name alone; they stand above it.
CommandReceiver &ReceiverOf(FaceBeautyFilterWorker &worker);

}  // namespace vanta
