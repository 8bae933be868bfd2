// What the host does about an effect engine that did not start.
#pragma once

#include <callback/calldata.h>

namespace vanta_host {

// Without an engine the module refuses each frame and the source would show nothing, so the host sets the module's jump
// state and the picture passes untouched. The jump is the process's: with several filters one missing engine lets all
// of their pictures pass. A jump that the host application has set stays as it is.
//
// While a jump stands no frame reaches a worker, so no worker tries its engine again. The host application decides when
// to: it clears the jump with ILumivex::SetFacelessJumpInfo, and the next start of an engine is reported here afresh.

// The signal "vanta_filter_callback". It may come on a worker thread with the worker's lock held: it waits for no
// frame.
void OnFilterSignal(void *param, calldata_t *data);
// Takes the host's own jump back and forgets how the last start ended.
void ForgetEngine();

}  // namespace vanta_host
