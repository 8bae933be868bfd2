// Gets the object out of a variant value.
#pragma once

#include <memory>

#include "vanta_filter/landmark/tessera_api.h"

namespace vanta {

// The object that `any` holds, whatever its type. Throws std::runtime_error when it holds none; `wanted` is the type
// asked for, for the message.
std::shared_ptr<void> HeldObject(const tessera::Any &any, const char *wanted);

template <typename Type>
struct ObjectName;
template <>
struct ObjectName<tessera::TesseraOut> {
  static constexpr char kText[] = "tessera::TesseraOut";
};

// The variant's tag is all there is to go by: the caller knows what the object is.
template <typename Type>
std::shared_ptr<Type> CastHelper(const tessera::Any &any) {
  return std::static_pointer_cast<Type>(HeldObject(any, ObjectName<Type>::kText));
}

}  // namespace vanta
