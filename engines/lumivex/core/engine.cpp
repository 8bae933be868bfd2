#include "core/engine.h"

#include <util/base.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "core/face_need.h"
#include "faces/vision_params.h"
#include "pixels/orientation.h"
#include "pixels/yuv_space.h"
#include "settings/engine_control.h"
#include "vanta_filter/landmark/tessera_api.h"
#include "warp/body_warps.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

constexpr int32_t kNoGreenMatting = 4;  // in FrameData::pixel_format, going in

// As people write it: 0.7, not the nearest float's 0.699999988.
double Readable(float value) {
  return std::round(static_cast<double>(value) * 1e4) / 1e4;
}

float MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<float, std::milli>(Clock::now() - start).count();
}

template <typename Work>
void Timed(float &milliseconds, Work &&work) {
  const Clock::time_point start = Clock::now();
  work();
  milliseconds = MillisecondsSince(start);
}

Json EffectsJson(const std::vector<RunningEffect> &running) {
  Json effects = Json::array();
  for (const RunningEffect &effect : running) {
    effects.push_back({{"slot", effect.slot},
                       {"path", effect.path},
                       {"state", static_cast<int>(effect.player.State())},
                       {"time_ms", effect.player.ElapsedMs()},
                       {"layers", effect.player.ShownLayers()}});
  }
  return effects;
}

// Relative names that are not found as they stand are looked up among the tables that come with the engine.
std::string LookupPath(const std::string &root, const std::string &path) {
  std::error_code error;
  if (path.empty() || std::filesystem::exists(path, error)) return path;
  const std::filesystem::path own = std::filesystem::path(root) / "lookups" / path;
  return std::filesystem::exists(own, error) ? own.string() : path;
}

}  // namespace

std::shared_ptr<LX::FrameData> Engine::Process(const std::shared_ptr<LX::FrameData> &frame) {
  const Clock::time_point start = Clock::now();
  const std::optional<Nv12View> view = ViewOf(*frame);
  if (!view) {
    stats_.AddFailure();
    return nullptr;
  }
  FrameTimes times;
  effects_.Begin(frame->timestamp);
  RunStages(*frame, *view, times);
  DelayFrame();
  std::shared_ptr<LX::FrameData> result = Deliver(frame, *view, times);
  times.beauty = MillisecondsSince(start) - times.vision;
  result->tessera_ms = times.vision;
  result->beauty_ms = times.beauty;
  stats_.AddFrame(times);
  if (result->dump_flag != 0) result->dump_text = DumpText(*result, times);
  return result;
}

std::shared_ptr<LX::FrameData> Engine::Deliver(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                               FrameTimes &times) {
  const int32_t wish = frame->pixel_format;
  const YuvSpace space = SpaceOf(frame->color_code);
  if (!output_.Works(wish)) return output_.Hand(frame, view, space, wish);
  std::shared_ptr<LX::FrameData> result;
  Timed(times[Stage::kOutput], [&] { result = output_.Hand(frame, view, space, wish); });
  return result;
}

void Engine::RunStages(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times) {
  const YuvSpace space = SpaceOf(frame.color_code);
  FindFaces(frame, view, times);
  // The backdrop goes first, while its colour is still the camera's.
  if (applied_.Enabled(kEffectGreenMatting) && frame.pixel_format != kNoGreenMatting) {
    Timed(times[Stage::kGreenMatting], [&] { green_matting_.Apply(view, space); });
  }
  RunBeauty(view, space, times);
  // Over the skin, which would be smoothed with it.
  if (applied_.ShowsMakeup() && !faces_.Found().empty()) {
    Timed(times[Stage::kMakeup], [&] { makeup_.Apply(view, space, faces_.Found(), applied_.face.makeup); });
  }
  if (const float relight = applied_.Beauty(kBeautyRelight); relight > 0.0f && applied_.Enabled(kEffectRelight)) {
    const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
    Timed(times[Stage::kRelight], [&] { relight_.Apply(view, space, orientation, relight); });
  }
  const bool adjust = applied_.Enabled(kEffectAdjust);
  const float brightness = applied_.Beauty(kBeautyBrightness);
  const float contrast = applied_.Beauty(kBeautyContrast);
  if (adjust && (brightness != 0.0f || contrast != 0.0f)) {
    Timed(times[Stage::kTone], [&] { tone_.Apply(view, space, brightness, contrast); });
  }
  if (applied_.lookup && applied_.lookup_intensity > 0.0f && applied_.Enabled(kEffectLookup)) {
    Timed(times[Stage::kLookup], [&] { lookup_.Apply(view, space, applied_.lookup, applied_.lookup_intensity); });
  }
  RunWarp(frame, view, times);
  if (const float sharpen = applied_.Beauty(kBeautySharpen); adjust && sharpen > 0.0f) {
    const float smooth = times.skin_found ? applied_.SkinStrength().smooth : 0.0f;
    CellMap *share = smooth > 0.0f ? &beauty_.ShareToSharpen(smooth) : nullptr;
    Timed(times[Stage::kSharpen], [&] { sharpen_.Apply(view, sharpen, share); });
  }
  DrawEffects(frame, view, space, times);
}

// Last, so that no other stage changes their colours. They go where the warp has moved what they lie on.
void Engine::DrawEffects(const LX::FrameData &frame, const Nv12View &view, const YuvSpace &space, FrameTimes &times) {
  if (!applied_.Enabled(kEffectMagic) || !effects_.Visible()) return;
  const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
  Timed(times[Stage::kMagic], [&] { effects_.Draw(view, space, orientation, faces_.Found(), warp_.Applied()); });
}

void Engine::FindFaces(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times) {
  const FaceNeed need = NeedOfFaces(applied_, effects_, reports_faces_);
  const Clock::time_point start = Clock::now();
  const bool looked = faces_.Find(view, OrientationOf(frame.rotation, frame.flip != 0), frame.timestamp, need);
  times.faces = faces_.Found().size();
  if (need == FaceNeed::kNone) return EndFaceReports();
  times.vision = MillisecondsSince(start);
  if (!looked) return;
  times[Stage::kFaces] = times.vision;
  stats_.SetSearchShare(faces_.TimeOfSearch().Share());
  landmarks_ = reports_faces_ ? faces_.Result() : nullptr;
  faces_reported_ = landmarks_ != nullptr;
}

// The host would keep the faces that it was told of last: once more, with none.
void Engine::EndFaceReports() {
  if (!std::exchange(faces_reported_, false)) return;
  landmarks_ = std::make_shared<tessera::TesseraOut>();
}

// After everything that knows the faces' places.
void Engine::RunWarp(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times) {
  const WarpRequest wish = applied_.Warp();
  bool slimmed = false;
  warp_.Begin();
  if (wish.Any() && (!wish.NeedsFaces() || !faces_.Found().empty())) {
    const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
    Timed(times[Stage::kWarp], [&] { slimmed = warp_.Apply(view, orientation, faces_.Found(), wish); });
  }
  slimming_status_ = kSlimmingIdle;
  if (AnySlimming(wish.slimming)) slimming_status_ = slimmed ? kSlimmingActive : kSlimmingNoBody;
}

std::optional<LXBodySlimmingStatus> Engine::TakeSlimmingStatus() {
  if (slimming_status_ == told_slimming_status_) return std::nullopt;
  told_slimming_status_ = slimming_status_;
  return slimming_status_;
}

void Engine::RunBeauty(const Nv12View &view, const YuvSpace &space, FrameTimes &times) {
  const BeautyStrength strength = applied_.SkinStrength();
  if (!strength.Any()) return;
  Timed(times[Stage::kSkin], [&] { times.skin_found = beauty_.FindSkin(view, space, faces_.Found()); });
  if (!times.skin_found) return;
  Timed(times[Stage::kBeauty], [&] { beauty_.Apply(view, space, strength); });
}

void Engine::EndBatch() {
  if (batch_depth_ == 0) return;
  if (--batch_depth_ == 0) Publish();
}

void Engine::Publish() {
  if (batch_depth_ != 0) return;
  applied_ = edited_;
  for (const auto &change : std::exchange(batched_changes_, {})) change(effects_);
}

void Engine::ChangeEffects(std::function<void(MagicEffects &)> change) {
  batched_changes_.push_back(std::move(change));
  Publish();
}

void Engine::SetBeautyIntensity(LXBeautyType type, float intensity) {
  if (!SetBeauty(edited_.beauty, type, intensity)) {
    blog(LOG_WARNING, "[lumivex] no beauty type %d, types go from 0 to %d", static_cast<int>(type),
         static_cast<int>(kBeautyTypeCount) - 1);
    return;
  }
  Publish();
}

void Engine::SetEffectEnabled(LXEffectType type, bool enabled) {
  if (!SetEnabled(edited_, type, enabled)) {
    blog(LOG_WARNING, "[lumivex] no effect type %d, types go from 0 to %d", static_cast<int>(type),
         static_cast<int>(kEffectTypeCount) - 1);
    return;
  }
  Publish();
}

void Engine::SetNaturality(float naturality) {
  edited_.naturality = Clamped(naturality, 0.0f, 1.0f);
  Publish();
}

void Engine::SetLookup(const std::string &path, float intensity, int32_t type) {
  edited_.lookup.reset();
  edited_.lookup_name.clear();
  edited_.lookup_intensity = Clamped(intensity, 0.0f, 1.0f);
  if (!path.empty()) {
    LookupFile file = ReadLookup(LookupPath(root_, path), type);
    if (file.table) {
      edited_.lookup = std::move(file.table);
      edited_.lookup_name = path;
    } else {
      blog(LOG_WARNING, "[lumivex] lookup table %s: %s; %s", path.c_str(), file.reason.c_str(), file.remedy.c_str());
    }
  }
  Publish();
}

void Engine::SetLookupIntensity(float intensity) {
  edited_.lookup_intensity = Clamped(intensity, 0.0f, 1.0f);
  Publish();
}

// A folder that is in use already is not read again.
std::shared_ptr<const MakeupResource> Engine::FindMakeup(const MakeupRequest &wish) const {
  const bool is_color = IsMakeupColor(wish.folder);
  for (const MakeupChoice &choice : edited_.face.makeup) {
    if (!is_color && choice.resource->folder == wish.folder) return choice.resource;
  }
  const MakeupLoad load = is_color ? MakeupOfColor(wish.folder, wish.key) : LoadMakeup(wish.folder);
  if (!load.resource) {
    blog(LOG_WARNING, "[lumivex] makeup %s: %s; %s", load.file.c_str(), load.reason.c_str(), load.remedy.c_str());
  }
  return load.resource;
}

void Engine::SetMakeup(const std::vector<MakeupRequest> &wishes) {
  std::vector<MakeupChoice> choices;
  for (const MakeupRequest &wish : wishes) {
    if (auto resource = FindMakeup(wish))
      choices.push_back({wish.key, std::move(resource), wish.blend, Clamped(wish.intensity, 0.0f, 1.0f)});
  }
  edited_.face.makeup = std::move(choices);
  Publish();
}

void Engine::SetMakeupIntensity(const std::string &key, float intensity) {
  bool found = false;
  for (MakeupChoice &choice : edited_.face.makeup) {
    if (choice.key != key) continue;
    choice.intensity = Clamped(intensity, 0.0f, 1.0f);
    found = true;
  }
  if (!found) blog(LOG_WARNING, "[lumivex] no makeup has the key '%s'", key.c_str());
  Publish();
}

void Engine::SetDeform(int mode, float intensity) {
  if (!lumivex::SetDeform(edited_.face.deform, mode, intensity)) {
    blog(LOG_WARNING, "[lumivex] no deform mode %d, modes go from 0 to %d", mode,
         static_cast<int>(kDeformModeCount) - 1);
    return;
  }
  Publish();
}

void Engine::SetSlimming(LXBodySlimmingType type, float intensity) {
  if (!lumivex::SetSlimming(edited_.face.slimming, type, intensity)) {
    blog(LOG_WARNING, "[lumivex] no body slimming type %d, types go from 0 to %d", static_cast<int>(type),
         static_cast<int>(kSlimTypeCount) - 1);
    return;
  }
  Publish();
}

void Engine::SetLegRange(float top, float bottom, int direction) {
  if (top == 0.0f && bottom == 0.0f) {
    edited_.face.legs.reset();
    return Publish();
  }
  if (!(top >= 0.0f && top < bottom && bottom <= 1.0f)) {
    blog(LOG_WARNING, "[lumivex] no leg range from %g to %g: it goes down within 0 to 1; the range stays as it is",
         static_cast<double>(top), static_cast<double>(bottom));
    return;
  }
  edited_.face.legs = LegRange{top, bottom, direction == kLegsToTheRight};
  Publish();
}

void Engine::SetVisionParams(const std::string &json) {
  const VisionParams read = ReadVisionParams(json);
  if (!read.values) {
    blog(LOG_WARNING, "[lumivex] vision parameters '%s': %s; they stay as they are", json.c_str(), read.reason.c_str());
    return;
  }
  faces_.SetParams(*read.values);
}

void Engine::SetGroup(const std::string &text, bool is_group) {
  if (text.empty()) return;
  const PresetFile file = ReadPreset(root_, text, is_group);
  if (!file.values) {
    blog(LOG_WARNING, "[lumivex] beauty preset %s: %s: %s; beauty stays as it is", text.c_str(), file.file.c_str(),
         file.reason.c_str());
    return;
  }
  edited_.beauty = *file.values;
  edited_.group = text;
  Publish();
}

std::string Engine::DumpText(const LX::FrameData &frame, const FrameTimes &times) const {
  Json stages = Json::object();
  for (size_t i = 0; i < kStageCount; ++i) {
    if (times.stages[i] >= 0.0f) stages[kStageNames[i]] = Readable(times.stages[i]);
  }
  Json beauty = Json::object();
  for (const BeautyTypeInfo &info : kBeautyTypes) beauty[std::string(info.name)] = Readable(applied_.Beauty(info.type));
  Json deform = Json::object();
  for (const DeformModeInfo &info : kDeformModes)
    deform[std::string(info.name)] = Readable(applied_.face.deform[static_cast<size_t>(info.mode)]);
  Json makeup = Json::object();
  for (const MakeupChoice &choice : applied_.face.makeup) makeup[choice.key] = Readable(choice.intensity);
  Json slimming = Json::object();
  for (size_t i = 0; i < kSlimTypeCount; ++i)
    slimming[std::string(kSlimNames[i])] = Readable(applied_.face.slimming[i]);
  const Json json = {
      {"engine", "lumivex"},
      {"frame",
       {{"width", frame.width},
        {"height", frame.height},
        {"rotation", frame.rotation},
        {"flip", frame.flip != 0},
        {"color_code", frame.color_code},
        {"timestamp", frame.timestamp}}},
      {"group", applied_.group},
      {"beauty", std::move(beauty)},
      {"naturality", Readable(applied_.naturality)},
      {"lookup", {{"name", applied_.lookup_name}, {"intensity", Readable(applied_.lookup_intensity)}}},
      {"faces", times.faces},
      {"effects", EffectsJson(effects_.Running())},
      {"makeup", std::move(makeup)},
      {"deform", std::move(deform)},
      {"body_slimming", std::move(slimming)},
      {"stages_ms", std::move(stages)},
      {"tessera_ms", Readable(times.vision)},
      {"beauty_ms", Readable(times.beauty)},
  };
  // Names of files need not be UTF-8.
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace lumivex
