#include "vanta_operations/records.h"

#include "vanta_operations/values.h"

namespace vanta_operations {

void ListMembers(Members &members, LXGroupConfig &record) {
  members.Need("path", record.path);
  members.May("is_group", record.is_group);
}

void ListMembers(Members &members, LXLookupInfo &record) {
  members.Need("path", record.path);
  members.Need("intensity", record.intensity);
  members.May("dimension", record.dimension);
  members.May("type", record.type);
}

void ListMembers(Members &members, LXMakeupInfo &record) {
  members.Need("resourceDir", record.resourceDir);
  members.Need("key", record.key);
  members.May("word", record.word);
  members.Need("intensity", record.intensity);
}

void ListMembers(Members &members, LXMediaResource &record) {
  members.Need("type", record.type);
  members.Need("mediaPath", record.mediaPath);
}

void ListMembers(Members &members, FacelessJumpInfo &record) {
  members.Need("need_jump", record.need_jump);
  members.Need("jump_type", record.jump_type);
}

void ListMembers(Members &members, InteractiveBoxInfo &record) {
  members.Need("path", record.path);
  members.Need("loaded", record.loaded);
}

void ListMembers(Members &members, MagicEffectRequest &record) {
  members.Need("path", record.path);
  members.Need("slot", record.slot);
  members.Need("flag", record.flag);
  members.May("event_name", record.event_name);
}

void ListMembers(Members &members, FacelessEngineSnapshot &record) {
  members.May("effect_enabled", record.effect_enabled);
  members.May("body_slimming", record.body_slimming);
  members.May("deform", record.deform);
  members.May("beauty", record.beauty);
  members.May("makeup", record.makeup);
  members.May("lookup", record.lookup);
  members.May("group", record.group);
  members.May("model_root_path", record.model_root_path);
  members.May("basic_adjust", record.basic_adjust);
  members.May("words", record.words);
  members.May("tessera_params", record.tessera_params);
  members.May("magic_path", record.magic_path);
  members.May("boom_game_data", record.boom_game_data);
}

void Value<SourceNames>::Read(const Json &value, SourceNames &field) {
  Value<std::vector<std::string>>::Read(value, field.names);
}

std::string Value<SourceNames>::Form() {
  return "[name of a source, ..]";
}

}  // namespace vanta_operations
