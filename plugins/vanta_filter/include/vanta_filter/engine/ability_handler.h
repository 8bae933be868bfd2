// The host's answer to what effects ask for. Its address travels as a number in the filter's settings.
#pragma once

#include <string>

// Implemented by the host application, called through its table of virtual functions: the order is a contract.
// Threads: [engine], or the thread of the command that led to the call.
// Answer from another thread: with asynchronous commands off, a command sent from inside of a call waits for the
// worker's lock, which may be held for that very call.
class ILiveEffectJsonAbilityHandler {
 public:
  virtual void Reserved() = 0;  // the host's own; this module never calls it
  // `raw` is the effect's whole message, JSON in UTF-8. `method` is what it asks for ("playEffect", "getPkId", ...),
  // empty where the handler is to read `raw` itself. `params` is the effect's own text for "playEffect" and
  // "sendEffectMessage", else empty. All three are valid during the call only.
  virtual void PostGameData(const std::string &raw, const std::string &method, const std::string &params) = 0;
  // A command has loaded the interactive box, or unloaded it; also where there is no engine.
  virtual void PostSignalAfterLoadInteractiveBoxResource() = 0;
  virtual void PostSignalAfterUnloadInteractiveBoxResource() = 0;

 protected:
  ~ILiveEffectJsonAbilityHandler() = default;
};
