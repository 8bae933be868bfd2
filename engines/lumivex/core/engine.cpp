#include "core/engine.h"

#include <util/base.h>

#include <vanta_base/json_text.h>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "core/face_need.h"
#include "faces/vision_params.h"
#include "pixels/orientation.h"
#include "pixels/yuv_space.h"
#include "settings/engine_control.h"
#include "vanta_base/utf8_path.h"
#include "vanta_filter/landmark/tessera_api.h"
#include "warp/body_warps.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

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

// Relative names that are not found as they stand are looked up among the
// tables that come with the engine.
std::string LookupPath(const std::string &root, const std::string &path) {
  std::error_code error;
  if (path.empty() || std::filesystem::exists(vanta::PathFromUtf8(path), error)) return path;
  const std::filesystem::path own = vanta::PathFromUtf8(root) / "lookups" / vanta::PathFromUtf8(path);
  return std::filesystem::exists(own, error) ? vanta::Utf8FromPath(own) : path;
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
  times.quality = quality_.Step();
  if (batch_depth_ == 0) TakeLoaded();
  effects_.Begin(frame->timestamp);
  RunStages(*frame, *view, times);
  DelayFrame();
  std::shared_ptr<LX::FrameData> result = Deliver(frame, *view, times);
  times.beauty = MillisecondsSince(start) - times.vision;
  result->tessera_ms = times.vision;
  result->beauty_ms = times.beauty;
  stats_.AddFrame(times);
  FollowQuality(frame->timestamp, times.beauty + times.vision);
  if (result->dump_flag != 0) result->dump_text = DumpText(*result, times);
  return result;
}

// Where frames await what is read for them, nothing is to depend on how fast the machine is.
void Engine::FollowQuality(uint64_t timestamp, float milliseconds) {
  if (FramesAwaitLoads()) return quality_.Reset();
  const int former = quality_.Step();
  quality_.AddFrame(timestamp, milliseconds);
  if (quality_.Step() == former) return;
  blog(quality_.Step() > former ? LOG_WARNING : LOG_INFO, "[lumivex] quality step %d of %d: %s", quality_.Step(),
       QualitySteps::kLowest,
       quality_.Step() > former ? "frames take nearly all of their time" : "there is time enough again");
}

std::shared_ptr<LX::FrameData> Engine::Deliver(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                               FrameTimes &times) {
  const int32_t request = frame->pixel_format;
  const YuvSpace space = SpaceOf(frame->color_code);
  if (!output_.Works(request)) return output_.Deliver(frame, view, space, request);
  std::shared_ptr<LX::FrameData> result;
  Timed(times[Stage::kOutput], [&] { result = output_.Deliver(frame, view, space, request); });
  return result;
}

void Engine::RunStages(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times) {
  const YuvSpace space = SpaceOf(frame.color_code);
  FindFaces(frame, view, times);
  // The backdrop goes first, while its colour is still the camera's.
  if (applied_.Enabled(kEffectGreenMatting) && frame.pixel_format != LX::PixelFormat::kNoGreenMatting) {
    Timed(times[Stage::kGreenMatting], [&] { green_matting_.Apply(view, space); });
  }
  RunBeauty(view, space, times);
  // Over the skin, which would be smoothed with it.
  if (applied_.ShowsMakeup() && !faces_.Found().empty()) {
    Timed(times[Stage::kMakeup], [&] { makeup_.Apply(view, space, faces_.Found(), applied_.face.makeup, bands_); });
  }
  if (const float relight = applied_.Relight(); relight > 0.0f) {
    const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
    Timed(times[Stage::kRelight], [&] { relight_.Apply(view, space, orientation, faces_.Found(), relight); });
  }
  const bool adjust = applied_.Enabled(kEffectAdjust);
  const float brightness = applied_.Beauty(kBeautyBrightness);
  const float contrast = applied_.Beauty(kBeautyContrast);
  if (adjust && (brightness != 0.0f || contrast != 0.0f)) {
    Timed(times[Stage::kTone], [&] { tone_.Apply(view, space, brightness, contrast); });
  }
  if (applied_.lookup && applied_.lookup_intensity > 0.0f && applied_.Enabled(kEffectLookup)) {
    Timed(times[Stage::kLookup],
          [&] { lookup_.Apply(view, space, applied_.lookup, applied_.lookup_intensity, bands_); });
  }
  RunWarp(frame, view, times);
  const bool sharpens = adjust && times.quality < QualitySteps::kLowest;
  if (const float sharpen = applied_.Beauty(kBeautySharpen); sharpens && sharpen > 0.0f) {
    const float smooth = times.skin_found ? applied_.SkinStrength().smooth : 0.0f;
    const CellMap *share = smooth > 0.0f ? &beauty_.ShareToSharpen(smooth) : nullptr;
    Timed(times[Stage::kSharpen], [&] { sharpen_.Apply(view, sharpen, share, bands_); });
  }
  DrawEffects(frame, view, space, times);
}

// Last, so that no other stage changes their colours. They go where the warp has moved what they lie on.
void Engine::DrawEffects(const LX::FrameData &frame, const Nv12View &view, const YuvSpace &space, FrameTimes &times) {
  if (!applied_.Enabled(kEffectMagic) || !effects_.Visible()) return;
  const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
  Timed(times[Stage::kMagic],
        [&] { effects_.Draw(view, space, orientation, faces_.Found(), warp_.Applied(), bands_); });
}

void Engine::FindFaces(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times) {
  const FaceNeed need = NeedOfFaces(applied_, effects_, reports_faces_);
  const Clock::time_point start = Clock::now();
  const bool looked = faces_.Find(view, OrientationOf(frame.rotation, frame.flip != 0), frame.timestamp, need);
  times.faces = faces_.Found().size();
  stats_.SetFaces(faces_.Found());
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
  const WarpRequest request = applied_.Warp();
  bool slimmed = false;
  warp_.Begin();
  if (request.Any() && (!request.NeedsFaces() || !faces_.Found().empty())) {
    const Orientation orientation = OrientationOf(frame.rotation, frame.flip != 0);
    Timed(times[Stage::kWarp],
          [&] { slimmed = warp_.Apply(view, orientation, faces_.Found(), request, times.quality == 0, bands_); });
  }
  slimming_status_ = kSlimmingIdle;
  if (AnySlimming(request.slimming)) slimming_status_ = slimmed ? kSlimmingActive : kSlimmingNoBody;
}

std::optional<LXBodySlimmingStatus> Engine::TakeSlimmingStatus() {
  if (slimming_status_ == told_slimming_status_) return std::nullopt;
  told_slimming_status_ = slimming_status_;
  return slimming_status_;
}

void Engine::RunBeauty(const Nv12View &view, const YuvSpace &space, FrameTimes &times) {
  const BeautyStrength strength = applied_.SkinStrength();
  const bool retouches = times.quality < QualitySteps::kLowest;
  const RetouchStrength retouch = retouches ? applied_.Retouch() : RetouchStrength{};
  const EyesAndTeethStrength features = retouches ? applied_.EyesAndTeeth() : EyesAndTeethStrength{};
  const Faces &faces = faces_.Found();
  if (strength.Any() || (retouch.Any() && !faces.empty()))
    Timed(times[Stage::kSkin], [&] {
      const bool keep = times.quality > 0 && !keeps_skin_;  // every other frame
      times.skin_found = beauty_.FindSkin(view, space, faces, bands_, keep);
      keeps_skin_ = keep;
    });
  if (!faces.empty() && ((retouch.Any() && times.skin_found) || features.Any())) {
    Timed(times[Stage::kRetouch], [&] {
      eyes_and_teeth_.Apply(view, space, faces, features);
      if (times.skin_found) retouch_.Apply(view, space, beauty_.Skin(), beauty_.CellLuma(), faces, retouch, bands_);
    });
  }
  if (times.skin_found && strength.Any())
    Timed(times[Stage::kBeauty], [&] { beauty_.Apply(view, space, strength, bands_); });
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
  if (group_loading_.Pending()) beauty_since_group_.emplace_back(type, intensity);
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

void Engine::TakeLoaded() {
  const bool await = FramesAwaitLoads();
  const bool table = TakeTable(await);
  const bool makeup = TakeMakeup(await);
  const bool group = TakeGroup(await);
  if (table || makeup || group) Publish();
}

void Engine::SetLookup(const std::string &path, float intensity, int32_t type) {
  loading_table_intensity_ = Clamped(intensity, 0.0f, 1.0f);
  if (path.empty()) {
    table_loading_.Cancel();
    edited_.lookup.reset();
    edited_.lookup_name.clear();
    edited_.lookup_intensity = loading_table_intensity_;
    return Publish();
  }
  loading_table_ = path;
  table_loading_.Start(loader_, [root = root_, path, type](const std::atomic<bool> &) {
    return ReadTable{ReadLookup(LookupPath(root, path), type)};
  });
  if (FramesAwaitLoads()) TakeTable(true);
  Publish();
}

bool Engine::TakeTable(bool await) {
  std::optional<ReadTable> read = table_loading_.Take(await);
  if (!read) return false;
  if (!read->file.table) {
    blog(LOG_WARNING, "[lumivex] lookup table %s: %s; %s", loading_table_.c_str(), read->file.reason.c_str(),
         read->file.remedy.c_str());
    return false;
  }
  edited_.lookup = std::move(read->file.table);
  edited_.lookup_name = loading_table_;
  edited_.lookup_intensity = loading_table_intensity_;
  return true;
}

void Engine::SetLookupIntensity(float intensity) {
  edited_.lookup_intensity = loading_table_intensity_ = Clamped(intensity, 0.0f, 1.0f);
  Publish();
}

void Engine::SetMakeup(const std::vector<MakeupRequest> &requests) {
  if (requests.empty()) {
    makeup_loading_.Cancel();
    edited_.face.makeup.clear();
    return Publish();
  }
  loading_makeup_ = requests;
  // A folder that is in use already is not read again.
  std::vector<std::shared_ptr<const MakeupResource>> known;
  for (const MakeupChoice &choice : edited_.face.makeup) known.push_back(choice.resource);
  makeup_loading_.Start(loader_, [requests, known = std::move(known)](const std::atomic<bool> &cancelled) {
    ReadMakeup read;
    for (const MakeupRequest &request : requests) {
      if (cancelled.load(std::memory_order_relaxed)) break;
      if (IsMakeupColor(request.folder)) {
        read.loads.push_back(MakeupOfColor(request.folder, request.key));
        continue;
      }
      const auto same = std::find_if(known.begin(), known.end(),
                                     [&](const auto &resource) { return resource->folder == request.folder; });
      read.loads.push_back(same != known.end() ? MakeupLoad{*same, {}, {}, {}} : LoadMakeup(request.folder));
    }
    return read;
  });
  if (FramesAwaitLoads()) TakeMakeup(true);
  Publish();
}

bool Engine::TakeMakeup(bool await) {
  std::optional<ReadMakeup> read = makeup_loading_.Take(await);
  if (!read) return false;
  if (!read->reason.empty()) {
    blog(LOG_WARNING, "[lumivex] makeup: %s; it stays as it is", read->reason.c_str());
    return false;
  }
  std::vector<MakeupChoice> choices;
  for (size_t i = 0; i < read->loads.size(); ++i) {
    const MakeupRequest &request = loading_makeup_[i];
    MakeupLoad &load = read->loads[i];
    if (load.resource) {
      choices.push_back({request.key, std::move(load.resource), request.blend, Clamped(request.intensity, 0.0f, 1.0f)});
      continue;
    }
    blog(LOG_WARNING, "[lumivex] makeup %s: %s; %s", load.file.c_str(), load.reason.c_str(), load.remedy.c_str());
    for (const MakeupChoice &former : edited_.face.makeup) {
      if (former.key == request.key) choices.push_back(former);
    }
  }
  edited_.face.makeup = std::move(choices);
  return true;
}

void Engine::SetMakeupIntensity(const std::string &key, float intensity) {
  bool found = false;
  for (MakeupChoice &choice : edited_.face.makeup) {
    if (choice.key != key) continue;
    choice.intensity = Clamped(intensity, 0.0f, 1.0f);
    found = true;
  }
  if (makeup_loading_.Pending()) {
    for (MakeupRequest &request : loading_makeup_) {
      if (request.key != key) continue;
      request.intensity = intensity;
      found = true;
    }
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
    blog(LOG_WARNING,
         "[lumivex] no leg range from %g to %g: it goes down within 0 to 1; "
         "the range stays as it is",
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
  std::map<std::string, std::string> values = *read.values;
  if (const auto threads = values.extract("threads")) SetThreads(threads.mapped());
  faces_.SetParams(values);
}

void Engine::SetThreads(const std::string &number) {
  int threads = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), threads);
  if (error != std::errc() || end != number.data() + number.size() || threads < 0 || threads > RowBands::kMostThreads) {
    blog(LOG_WARNING, "[lumivex] no number of threads: '%s'; give 1 to %d, or 0 for the engine's own choice",
         number.c_str(), RowBands::kMostThreads);
    return;
  }
  bands_ = RowBands(threads == 0 ? RowBands::DefaultThreads() : threads);
}

void Engine::SetGroup(const std::string &text, bool is_group) {
  if (text.empty()) return;
  loading_group_ = text;
  beauty_since_group_.clear();
  group_loading_.Start(loader_, [root = root_, text, is_group](const std::atomic<bool> &) {
    return ReadGroup{ReadPreset(root, text, is_group)};
  });
  if (FramesAwaitLoads()) TakeGroup(true);
  Publish();
}

// Intensities that were set after the group go on top of it.
bool Engine::TakeGroup(bool await) {
  const std::optional<ReadGroup> read = group_loading_.Take(await);
  if (!read) return false;
  const auto later = std::exchange(beauty_since_group_, {});
  if (!read->file.values) {
    blog(LOG_WARNING, "[lumivex] beauty preset %s: %s: %s; beauty stays as it is", loading_group_.c_str(),
         read->file.file.c_str(), read->file.reason.c_str());
    return false;
  }
  edited_.beauty = *read->file.values;
  edited_.group = loading_group_;
  for (const auto &[type, intensity] : later) SetBeauty(edited_.beauty, type, intensity);
  return true;
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
      {"quality", times.quality},
      {"effects", EffectsJson(effects_.Running())},
      {"makeup", std::move(makeup)},
      {"deform", std::move(deform)},
      {"body_slimming", std::move(slimming)},
      {"stages_ms", std::move(stages)},
      {"tessera_ms", Readable(times.vision)},
      {"beauty_ms", Readable(times.beauty)},
  };
  // Names of files need not be UTF-8.
  return vanta::WriteJson(json);
}

}  // namespace lumivex
