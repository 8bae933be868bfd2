// How the recorder's functions write their notes, and how they end objects.
#pragma once

#include <sstream>
#include <string>

#include "fakes/graphics/gs_recorder.h"

namespace vanta_test::gs_recorder {

template <typename... Parts>
std::string Text(const Parts &...parts) {
  std::ostringstream out;
  (out << ... << parts);
  return out.str();
}

template <typename Object>
void Destroy(Object *object, const char *function) {
  const std::string call = Text(function, "(", NameOf(object), ")");
  NoteInGraphics(call);
  if (object && Untrack(object, call)) delete object;
}

}  // namespace vanta_test::gs_recorder
