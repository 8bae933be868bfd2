// `FaceTriggers`: whose mouth is open and who has blinked, from frame to frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "faces/faces.h"
#include "magic/effect_plan.h"

namespace lumivex {

// A person is told again by the place of the eyes. What is not surely seen changes nothing: a mouth that was open
// counts as open for 0.4 s more, and lids begin or end no blink. A mouth has to close well below the width at which it
// opened, and lids that stay shut for more than 0.6 s do not blink. Owns: what is known of each person. Threads: one at
// a time.
class FaceTriggers {
 public:
  // The faces of a frame. `now_ms`: rising, of any clock.
  void Look(const Faces &faces, int64_t now_ms);
  void Clear();

  // When the mouth was opened that is open now, or when the last blink ended. `face`: its place in the last frame's
  // list; absent: anybody, the mouth that has been open for longest or the latest blink.
  std::optional<int64_t> Since(FaceTrigger trigger, std::optional<size_t> face) const;
  size_t FaceCount() const { return of_face_.size(); }  // in the last frame's list

 private:
  struct Person {
    FramePoint eyes;  // between them
    bool in_frame = false;
    int64_t seen_ms = 0;
    int64_t mouth_seen_ms = 0;
    std::optional<int64_t> mouth_open;
    std::optional<int64_t> lids_shut;
    std::optional<int64_t> blinked;

    void Look(const Expression &expression, int64_t now_ms);
    const std::optional<int64_t> &Of(FaceTrigger trigger) const;
  };

  size_t PersonOf(const Face &face);

  std::vector<Person> people_;
  std::vector<size_t> of_face_;  // people_ by the last frame's list
};

}  // namespace lumivex
