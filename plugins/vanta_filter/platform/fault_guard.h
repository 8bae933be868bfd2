// A barrier against processor faults, for code that reads memory it does not own.
#pragma once

namespace vanta {

// What RunGuarded runs, as the systems' files see it.
class GuardedBody {
 public:
  virtual void Run() = 0;

 protected:
  ~GuardedBody() = default;
};

bool RunGuardedBody(GuardedBody &body);

// Runs `body()`. False when the system caught a fault in it; the rest of the process goes on. Objects that `body` had
// made by then may never be destroyed. A platform without such faults simply runs it.
template <typename Body>
bool RunGuarded(Body &&body) {
  struct Call final : GuardedBody {
    explicit Call(Body &given) : body(given) {}
    void Run() override { body(); }
    Body &body;
  } call(body);
  return RunGuardedBody(call);
}

}  // namespace vanta
