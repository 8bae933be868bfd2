#include "paper_control.h"

#include "platform/export.h"

namespace {

bool door_locked = false;

}  // namespace

namespace vanta_test {

PaperControl &Control() {
  static PaperControl control;
  return control;
}

void LockControlDoor(bool locked) {
  door_locked = locked;
}

}  // namespace vanta_test

extern "C" VANTA_EXPORT bool FindFacelessInstance(void **out) {
  ILumivex *control = door_locked ? nullptr : &vanta_test::Control();
  *out = control;
  return control != nullptr;
}
