#include "registration/public_record.h"

#include <cstring>

namespace vanta_host {
namespace {

constexpr size_t kHead = offsetof(HostSourceInfo, host_slot);  // up to there the two records are the same
constexpr size_t kTail = kPublicSourceInfoSize - kHead;

static_assert(offsetof(obs_source_info, update) == kHead);
static_assert(offsetof(HostSourceInfo, update) == kHead + sizeof(HostSourceInfo::host_slot));
static_assert(offsetof(obs_source_info, video_get_color_space) + sizeof(obs_source_info::video_get_color_space) ==
              kPublicSourceInfoSize);
static_assert(offsetof(HostSourceInfo, reserved) == offsetof(HostSourceInfo, update) + kTail);
static_assert(sizeof(obs_source_info) >= kPublicSourceInfoSize);

}  // namespace

obs_source_info PublicRecord(const HostSourceInfo &record) {
  obs_source_info info;
  std::memset(&info, 0, sizeof(info));
  const auto *from = reinterpret_cast<const char *>(&record);
  auto *to = reinterpret_cast<char *>(&info);
  std::memcpy(to, from, kHead);
  std::memcpy(to + kHead, from + offsetof(HostSourceInfo, update), kTail);
  return info;
}

}  // namespace vanta_host
