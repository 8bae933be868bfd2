// From looks to what the control object takes.
#pragma once

#include "controls/beauty_look.h"
#include "module/resource_folders.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta_host {

// The engine's key of the makeup out of a folder; those by colour have their part's name.
inline constexpr char kMakeupKey[] = "makeup";

// One batch with a command for each difference; nothing where the two are the same.
void SendChanges(ILumivex &control, const BeautyLook &before, const BeautyLook &after, const ResourceFolders &folders);
// Puts the whole look into `snapshot`; what a look does not hold stays.
void PutIntoSnapshot(const BeautyLook &look, const ResourceFolders &folders, FacelessEngineSnapshot &snapshot);

}  // namespace vanta_host
