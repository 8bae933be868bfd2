// What the program's FindFacelessInstance hands out, as that of the module does.
#pragma once

#include "fakes/control/recording_control.h"

namespace vanta_test {

RecordingControl &Control();          // the process's
void LockModuleControl(bool locked);  // locked: nothing is handed out. Open at first

}  // namespace vanta_test
