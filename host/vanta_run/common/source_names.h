// The sources that a command may name.
#pragma once

namespace vanta_run {

inline constexpr char kSourceName[] = "video";
inline constexpr char kFilterName[] = "beauty";

}  // namespace vanta_run
