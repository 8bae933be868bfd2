// What the host does about an effect engine that did not start.
#pragma once

#include <string>

#include <callback/calldata.h>

namespace vanta_host {

// Without an engine the module refuses each frame and the source would show nothing, so the beauty filter's frames pass
// the module by. The pass-through is the process's: with several filters one missing engine lets all of their pictures
// pass. It is apart from the jump of the control object, which is the application's alone.
//
// While it stands no frame reaches a worker, so no worker tries its engine again. The host application decides when to,
// with vanta_host_end_pass_through(); the next start of an engine is reported here afresh.

// The signal "vanta_filter_callback". It may come on a worker thread with the worker's lock held: it waits for nothing.
void OnFilterSignal(void *param, calldata_t *data);
// There is no engine to start in this session, for the reason given: pictures pass.
void ReportMissingEngine(const std::string &reason);
// Ends the pass-through and forgets how the last start ended.
void ForgetEngine();
// The pass-through stands. Waits for nothing. Threads: any.
bool PicturesPass();

}  // namespace vanta_host
