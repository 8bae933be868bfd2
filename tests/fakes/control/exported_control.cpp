#include "fakes/control/exported_control.h"

#include "vanta_base/export.h"

namespace {

bool control_locked = false;

}  // namespace

namespace vanta_test {

RecordingControl &Control() {
  static RecordingControl control;
  return control;
}

void LockModuleControl(bool locked) {
  control_locked = locked;
}

}  // namespace vanta_test

extern "C" VANTA_EXPORT bool FindFacelessInstance(void **out) {
  ILumivex *control = control_locked ? nullptr : &vanta_test::Control();
  *out = control;
  return control != nullptr;
}
