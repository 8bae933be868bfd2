// The calling thread as the system knows it.
#pragma once

namespace vanta_host {

void NameThread(const char *name);

// From now on it keeps no thread waiting that draws, and tells a vision runner that looks that its caller can wait.
void BecomeBatchWork();
// As the process began, whatever the thread that made this one.
void TakeSchedulingOfTheProcess();

}  // namespace vanta_host
