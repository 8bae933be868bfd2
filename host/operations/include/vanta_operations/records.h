// The members of the control object's records, by the names that `engine/records.h` gives them.
#pragma once

#include <string>
#include <vector>

#include "vanta_filter/engine/records.h"
#include "vanta_operations/members.h"

namespace vanta_operations {

// Sources of the host, by name: `SetMagicEffectForSources` takes the beauty filters among them.
struct SourceNames {
  std::vector<std::string> names;
};

void ListMembers(Members &members, LXGroupConfig &record);
void ListMembers(Members &members, LXLookupInfo &record);
void ListMembers(Members &members, LXMakeupInfo &record);
void ListMembers(Members &members, LXMediaResource &record);
void ListMembers(Members &members, FacelessJumpInfo &record);
void ListMembers(Members &members, InteractiveBoxInfo &record);
void ListMembers(Members &members, MagicEffectRequest &record);
// Every member may be missing: what a snapshot does not hold is not replayed.
void ListMembers(Members &members, FacelessEngineSnapshot &record);

template <>
struct Value<SourceNames> {
  static void Read(const Json &value, SourceNames &field);
  static std::string Form();
};

}  // namespace vanta_operations
