#include "core/engine.h"

#include <util/base.h>

#include <charconv>
#include <chrono>
#include <map>

#include "core/dump_text.h"
#include "core/face_need.h"
#include "faces/vision_params.h"
#include "pixels/orientation.h"
#include "pixels/yuv_space.h"
#include "settings/engine_control.h"
#include "vanta_filter/landmark/tessera_api.h"
#include "warp/body_warps.h"

namespace lumivex {
namespace {

using Clock = std::chrono::steady_clock;

float MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<float, std::milli>(Clock::now() - start).count();
}

template <typename Work>
void Timed(float &milliseconds, Work &&work) {
  const Clock::time_point start = Clock::now();
  work();
  milliseconds = MillisecondsSince(start);
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
  if (batch_depth_ == 0 && loads_.Take(FramesAwaitLoads())) Publish();
  effects_.Begin(frame->timestamp);
  RunStages(*frame, *view, times);
  DelayFrame();
  std::shared_ptr<LX::FrameData> result = Deliver(frame, *view, times);
  times.beauty = MillisecondsSince(start) - times.vision;
  result->tessera_ms = times.vision;
  result->beauty_ms = times.beauty;
  stats_.AddFrame(times);
  FollowQuality(frame->timestamp, times.beauty + times.vision);
  if (result->dump_flag != 0) result->dump_text = DumpText(*result, times, applied_, effects_.Running());
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
    Timed(times[Stage::kRelight], [&] { relight_.Apply(view, space, orientation, faces_.Found(), relight, bands_); });
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
  faces_.AwaitModels(FramesAwaitLoads());
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
  loads_.NoteBeauty(type, intensity);
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
  loads_.ReadTable(path, intensity, type);
  Publish();
}

void Engine::SetLookupIntensity(float intensity) {
  loads_.SetTableIntensity(intensity);
  Publish();
}

void Engine::SetMakeup(const std::vector<MakeupRequest> &requests) {
  loads_.ReadMakeup(requests);
  Publish();
}

void Engine::SetMakeupIntensity(const std::string &key, float intensity) {
  loads_.SetMakeupIntensity(key, intensity);
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
  loads_.ReadGroup(text, is_group);
  Publish();
}

}  // namespace lumivex
