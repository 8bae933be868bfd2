#include "vanta_operations/operations.h"

#include <list>
#include <memory>
#include <tuple>
#include <utility>

#include "vanta_operations/records.h"
#include "vanta_operations/statistics_json.h"
#include "vanta_operations/values.h"

namespace vanta_operations {
namespace {

// What a line keeps of an argument until the call. Sources are looked up at the call: a line is read before they exist.
template <typename Param>
struct Kept {
  using Type = std::decay_t<Param>;
  static const Type &Give(const Type &kept, OperationTarget &) { return kept; }
};

template <>
struct Kept<std::list<obs_source_t *>> {
  using Type = SourceNames;
  static std::list<obs_source_t *> Give(const SourceNames &kept, OperationTarget &target) {
    std::list<obs_source_t *> sources;
    for (const std::string &name : kept.names) {
      obs_source_t *source = target.TakeSource(name);
      if (!source) {
        for (obs_source_t *taken : sources) obs_source_release(taken);
        throw BadCommand("member 'sources' names no source '" + name + "'");
      }
      sources.push_back(source);
    }
    return sources;
  }
};

Json ResultJson(const FacelessJumpInfo &info) {
  return {{"need_jump", info.need_jump}, {"jump_type", info.jump_type}};
}

Json ResultJson(const std::vector<StatisticsSample> &samples) {
  return StatisticsJson(samples);
}

template <typename Class, typename Result, typename... Params>
Action MakeAction(Result (Class::*operation)(Params...),
                  std::shared_ptr<const std::tuple<typename Kept<Params>::Type...>> arguments) {
  return [operation, arguments = std::move(arguments)](OperationTarget &target) -> Json {
    return std::apply(
        [&](const auto &...kept) -> Json {
          if constexpr (std::is_void_v<Result>) {
            (target.Control().*operation)(Kept<Params>::Give(kept, target)...);
            return nullptr;
          } else {
            return ResultJson((target.Control().*operation)(Kept<Params>::Give(kept, target)...));
          }
        },
        *arguments);
  };
}

// `list` names the members of the arguments.
template <typename Class, typename Result, typename... Params, typename List>
Operation MakeOperation(std::string_view name, Result (Class::*operation)(Params...), List list) {
  using Arguments = std::tuple<typename Kept<Params>::Type...>;
  Members described;
  Arguments none{};
  list(described, none);
  return {name,
          [operation, list](const Json &object) {
            auto arguments = std::make_shared<Arguments>();
            Members members(object);
            list(members, *arguments);
            members.End();
            return MakeAction(operation, std::shared_ptr<const Arguments>(std::move(arguments)));
          },
          described.forms()};
}

// Each argument is a member of the given name.
template <typename Class, typename Result, typename... Params, typename... Names>
Operation Named(std::string_view name, Result (Class::*operation)(Params...), Names... names) {
  static_assert(sizeof...(Params) == sizeof...(Names));
  return MakeOperation(name, operation, [names...](Members &members, auto &arguments) {
    std::apply([&](auto &...argument) { (members.Need(names, argument), ...); }, arguments);
  });
}

// The only argument is a record, whose members are the line's.
template <typename Class, typename Param>
Operation Spread(std::string_view name, void (Class::*operation)(Param)) {
  return MakeOperation(name, operation,
                       [](Members &members, auto &arguments) { ListMembers(members, std::get<0>(arguments)); });
}

std::vector<Operation> MakeTable() {
  using I = ILumivex;
  return {
      Named("SetModelPathDic", &I::SetModelPathDic, "path_dic"),
      Named("SetModelRootPath", &I::SetModelRootPath, "path"),
      Named("UpdateTesseraParams", &I::UpdateTesseraParams, "json"),
      Named("BeginBatchCommand", &I::BeginBatchCommand),
      Named("EndBatchCommand", &I::EndBatchCommand),
      Named("SetEffectEnabledWithEffectType", &I::SetEffectEnabledWithEffectType, "type", "enabled"),
      Spread("SetLookupInfo", &I::SetLookupInfo),
      Named("SetLookupIntensity", &I::SetLookupIntensity, "intensity"),
      Named("SetMakeupInfo", &I::SetMakeupInfo, "layers"),
      Named("SetMakeupIntensityWithKey", &I::SetMakeupIntensityWithKey, "key", "intensity"),
      Named("SetBeautyIntensityWithType", &I::SetBeautyIntensityWithType, "type", "intensity"),
      Spread("SetBeautyGroupPath", &I::SetBeautyGroupPath),
      Named("SetNaturalityIntensity", &I::SetNaturalityIntensity, "intensity"),
      Named("SetDeformIntensityWithMode", &I::SetDeformIntensityWithMode, "mode", "intensity"),
      Named("SetBodySlimmingIntensityWithType", &I::SetBodySlimmingIntensityWithType, "type", "intensity"),
      Named("SetBodySlimmingManualLegHeightRangeAndDir", &I::SetBodySlimmingManualLegHeightRangeAndDir, "top", "bottom",
            "dir"),
      Named("SetMagicEffectWithEvent", &I::SetMagicEffectWithEvent, "path", "slot", "flag", "event_name"),
      Named("SetMagicEffectWithPath", &I::SetMagicEffectWithPath, "path", "slot", "flag"),
      Named("CancelMagicEffect", &I::CancelMagicEffect),
      Named("SetEffectStateWithState", &I::SetEffectStateWithState, "state"),
      Named("SetEffectIntensityWithType", &I::SetEffectIntensityWithType, "type", "intensity"),
      Spread("SetMediaResource", &I::SetMediaResource),
      Named("SetBasicAdjustIntensity", &I::SetBasicAdjustIntensity, "type", "intensity"),
      Named("SetBoomGameData", &I::SetBoomGameData, "json"),
      Named("SetMagicCustomImage", &I::SetMagicCustomImage, "paths"),
      Named("LoadInteractiveBoxResource", &I::LoadInteractiveBoxResource, "path"),
      Named("UnloadInteractiveBoxResource", &I::UnloadInteractiveBoxResource),
      Spread("SetEngineSnapshot", &I::SetEngineSnapshot),
      Spread("SetInteractiveBoxInfo", &I::SetInteractiveBoxInfo),
      Named("GetBeautyStatistics", &I::GetBeautyStatistics),
      Named("SetMagicEffectForSources", &I::SetMagicEffectForSources, "sources", "request"),
      Spread("SetFacelessJumpInfo", &I::SetFacelessJumpInfo),
      Named("GetFacelessJumpInfo", &I::GetFacelessJumpInfo),
  };
}

}  // namespace

const std::vector<Operation> &Operations() {
  static const std::vector<Operation> table = MakeTable();
  return table;
}

const Operation *FindOperation(std::string_view name) {
  for (const Operation &operation : Operations()) {
    if (operation.name == name) return &operation;
  }
  return nullptr;
}

}  // namespace vanta_operations
