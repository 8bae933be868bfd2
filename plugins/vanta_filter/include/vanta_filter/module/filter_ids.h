// The ids under which the module registers its filters. Saved scenes hold them, so they never change.
#pragma once

namespace vanta {

inline constexpr char kBeautyFilterId[] = "face_beauty_filter_v2";
inline constexpr char kGreenScreenFilterId[] = "LX_green_screen_filter";
inline constexpr char kLandmarkFilterId[] = "tessera_landmark_filter";

}  // namespace vanta
