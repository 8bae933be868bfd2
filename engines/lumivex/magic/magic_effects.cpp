#include "magic/magic_effects.h"

#include <util/base.h>

#include <vanta_base/json_depth.h>
#include <vanta_base/json_text.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "files/json_members.h"
#include "settings/effect_settings.h"
#include "settings/engine_control.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char *, 4> kSlotNames = {"main", "1", "gift", "interactive_box"};
constexpr double kMediaFps = 25.0;
constexpr int64_t kNanosecondsPerMs = 1000000;

std::string FailureLine(const char *what, const std::string &path, const std::string &file, const std::string &reason,
                        const std::string &remedy) {
  std::string line = std::string("[lumivex] ") + what + " " + path + ": ";
  if (!file.empty() && file != path) line += file + ": ";
  return line + reason + "; " + remedy;
}

std::string FailureDescription(const std::string &path, const std::string &reason) {
  return vanta::WriteJson(Json{{"path", path}, {"error", reason}});
}

}  // namespace

// ---- Commands ----

void MagicEffects::SetEffect(const std::string &path, LXEffectSlot slot) {
  if (slot < 0 || static_cast<size_t>(slot) >= kBoxSlot) {
    blog(LOG_WARNING, "[lumivex] no effect slot %d, slots go from 0 to %d", static_cast<int>(slot),
         static_cast<int>(kBoxSlot) - 1);
    return;
  }
  const auto index = static_cast<size_t>(slot);
  EffectSlot &place = slots_[index];
  // A host says that a gift is over by asking for the main effect again.
  if (EffectSlot &gift = slots_[kGiftSlotIndex]; index == kMainSlot && path == place.path && !gift.path.empty()) {
    Clear(gift);
    if (path.empty() || place.Busy()) return;
  }
  if (path.empty())
    Clear(place);
  else
    Play(place, path);
}

void MagicEffects::Play(EffectSlot &slot, const std::string &path) {
  slot.path = path;
  slot.loading.Start(loader_, [path](const std::atomic<bool> &cancelled) { return LoadEffect(path, cancelled); });
}

void MagicEffects::Clear(EffectSlot &slot) {
  slot.loading.Cancel();
  slot.player.reset();
  slot.path.clear();
  slot.playing_path.clear();
}

void MagicEffects::Cancel() {
  for (size_t i = 0; i < kBoxSlot; ++i) Clear(slots_[i]);
}

void MagicEffects::SetState(LXEffectState state) {
  if (state < kEffectStateStopped || state > kEffectStatePaused) {
    blog(LOG_WARNING, "[lumivex] no effect state %d, states go from 0 to 2", static_cast<int>(state));
    return;
  }
  for (EffectSlot &slot : slots_) {
    if (slot.player) slot.player->SetState(state);
  }
}

void MagicEffects::SetIntensity(LXEffectAdjustType type, float intensity) {
  if (type == kAdjustEffectOpacity) {
    opacity_ = Clamped(intensity, 0.0f, 1.0f);
  } else if (!other_intensity_logged_) {
    other_intensity_logged_ = true;
    blog(LOG_INFO,
         "[lumivex] effects hold pictures alone, so of their intensities only "
         "the opacity, 0, does something; got %d",
         static_cast<int>(type));
  }
}

void MagicEffects::SetMedia(int32_t type, const std::string &path) {
  if (type == kMediaNone || type == kMediaTypeSkipEngine || path.empty()) {
    media_loading_.Cancel();
    shared_.media = {};
    return;
  }
  if (type != kMediaPicture && type != kMediaVideo) {
    blog(LOG_WARNING, "[lumivex] no media type %d, types go from 0 to %d", static_cast<int>(type),
         static_cast<int>(kMediaVideo));
    return;
  }
  media_path_ = path;
  media_loading_.Start(loader_, [path](const std::atomic<bool> &cancelled) {
    PixelBudget budget;
    return LoadPictures(path, budget, cancelled);
  });
}

void MagicEffects::SetCustomImages(const std::vector<std::string> &paths) {
  std::vector<std::string> taken(paths.begin(),
                                 paths.begin() + static_cast<ptrdiff_t>(std::min(paths.size(), kMaxCustomImages)));
  if (taken.size() < paths.size())
    blog(LOG_WARNING, "[lumivex] %d custom images: only the first %d are used", static_cast<int>(paths.size()),
         static_cast<int>(kMaxCustomImages));
  custom_loading_.Start(loader_, [paths = std::move(taken)](const std::atomic<bool> &cancelled) {
    CustomImages images;
    PixelBudget budget;
    for (const std::string &path : paths) {
      if (cancelled.load(std::memory_order_relaxed)) break;
      PictureFile file = ReadPicture(vanta::PathFromUtf8(path), budget);
      if (!file.picture) images.failures.push_back(FailureLine("custom image", path, path, file.reason, file.remedy));
      images.pictures.push_back(std::move(file.picture));
    }
    return images;
  });
}

void MagicEffects::ReceiveGameData(const std::string &json) {
  const bool readable = json.size() <= kMaxEffectTextBytes && !vanta::NestsDeeperThan(json, kMaxEffectNesting);
  const Json message = readable ? vanta::ReadJson(json) : Json(Json::value_t::discarded);
  if (!message.is_object()) {
    if (!bad_game_data_logged_)
      blog(LOG_WARNING,
           "[lumivex] game data from the host is no JSON object, "
           "it is left out");
    bad_game_data_logged_ = true;
    return;
  }
  bad_game_data_logged_ = false;
  for (EffectSlot &slot : slots_) {
    if (slot.player) slot.player->React(message, outbox_);
  }
}

void MagicEffects::LoadBox(const std::string &path) {
  if (!path.empty()) Play(slots_[kBoxSlot], path);
}

void MagicEffects::UnloadBox() {
  Clear(slots_[kBoxSlot]);
}

// ---- Frames ----

void MagicEffects::Begin(uint64_t timestamp) {
  const int64_t step = clock_.Step(timestamp);
  media_ns_ += step;
  for (EffectSlot &slot : slots_) {
    if (!slot.player) continue;
    slot.player->Advance(step, outbox_);
    if (slot.player->Ended()) slot.player.reset();
  }
  TakeLoaded();  // what starts now starts at its time 0
}

void MagicEffects::TakeLoaded() {
  const bool await = FramesAwaitLoads();
  for (EffectSlot &slot : slots_) {
    TakeEffect(slot, await);
    if (slot.player) slot.player->TakeTexts(await);
  }
  if (auto media = media_loading_.Take(await)) {
    if (media->content) {
      shared_.media = *media->content;
      media_ns_ = 0;
    } else {
      blog(LOG_WARNING, "%s",
           FailureLine("media resource", media_path_, media->file, media->reason, media->remedy).c_str());
    }
  }
  TakeCustomImages(await);
}

// One that cannot be read leaves the former one of its number.
void MagicEffects::TakeCustomImages(bool await) {
  auto custom = custom_loading_.Take(await);
  if (!custom) return;
  for (const std::string &line : custom->failures) blog(LOG_WARNING, "%s", line.c_str());
  if (!custom->read) return;
  std::vector<PicturePointer> &pictures = custom->pictures;
  for (size_t i = 0; i < std::min(pictures.size(), shared_.custom.size()); ++i) {
    if (!pictures[i]) pictures[i] = std::move(shared_.custom[i]);
  }
  shared_.custom = std::move(pictures);
}

void MagicEffects::TakeEffect(EffectSlot &slot, bool await) {
  auto loaded = slot.loading.Take(await);
  if (!loaded) return;
  if (!loaded->content) {
    blog(LOG_WARNING, "%s",
         FailureLine("magic effect", slot.path, loaded->file, loaded->reason, loaded->remedy).c_str());
    outbox_.Describe(FailureDescription(slot.path, loaded->reason), false);
    if (slot.player) slot.path = slot.playing_path;
    return;
  }
  slot.playing_path = slot.path;
  slot.player = std::make_unique<EffectPlayer>(std::move(loaded->content), loader_);
  slot.player->Start(DisablesOfAll(), outbox_);
}

// A description says anew what the host's user may set, so it speaks for every
// effect. A gift's takes nothing over.
Disables MagicEffects::DisablesOfAll() const {
  Disables all = {};
  for (const EffectSlot &slot : slots_) {
    if (!slot.player || slot.player->Plan().gift_display_time) continue;
    for (size_t i = 0; i < all.size(); ++i) all[i] = all[i] || slot.player->Plan().disables[i];
  }
  return all;
}

bool MagicEffects::NeedsFaces() const {
  return std::any_of(slots_.begin(), slots_.end(),
                     [](const EffectSlot &slot) { return slot.player && slot.player->NeedsFaces(); });
}

bool MagicEffects::Visible() const {
  return ShowsMediaItself() || std::any_of(slots_.begin(), slots_.end(), [](const EffectSlot &slot) {
           return slot.player && slot.player->Visible();
         });
}

bool MagicEffects::ShowsMediaItself() const {
  return !shared_.media.Empty() && std::none_of(slots_.begin(), slots_.end(), [](const EffectSlot &slot) {
    return slot.player && slot.player->Uses(LayerSource::kMedia);
  });
}

void MagicEffects::Draw(const Nv12View &view, const YuvSpace &space, const Orientation &orientation, const Faces &faces,
                        const WarpField *warp, const RowBands &bands) {
  const Canvas canvas{view, space, orientation, faces, warp, opacity_, bands};
  if (ShowsMediaItself()) DrawMedia(canvas);
  for (EffectSlot &slot : slots_) {
    if (slot.player) slot.player->Draw(canvas, shared_);
  }
}

void MagicEffects::DrawMedia(const Canvas &canvas) {
  const PicturePointer &picture = shared_.media.At(media_ns_ / kNanosecondsPerMs, kMediaFps, true);
  const float shape = static_cast<float>(picture->Height()) / static_cast<float>(picture->Width());
  const int width = canvas.view.width;
  const int height = canvas.view.height;
  media_stamp_.Make(picture, PlaceWhole(shape, width, height, canvas.orientation), 1.0f, canvas.space, width, height,
                    canvas.bands);
  media_stamp_.Blend(canvas.view, canvas.bands);
}

std::vector<RunningEffect> MagicEffects::Running() const {
  std::vector<RunningEffect> running;
  for (size_t i = 0; i < slots_.size(); ++i) {
    if (slots_[i].player) running.push_back({kSlotNames[i], slots_[i].playing_path, *slots_[i].player});
  }
  return running;
}

}  // namespace lumivex
