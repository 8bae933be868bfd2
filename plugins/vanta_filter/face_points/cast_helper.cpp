#include "face_points/cast_helper.h"

#include <stdexcept>
#include <string>

namespace vanta {

std::shared_ptr<void> HeldObject(const tessera::Any &any, const char *wanted) {
  if (any.tag != tessera::Any::kObject) {
    throw std::runtime_error("CastHelper cannot cast type to object, type mismatch: " + std::to_string(any.tag));
  }
  if (!any.payload) {
    throw std::runtime_error("CastHelper cannot cast type to object , pointer null : " + any.object_name + " <--> " +
                             wanted);
  }
  return any.payload;
}

}  // namespace vanta
