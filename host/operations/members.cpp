#include "vanta_operations/members.h"

namespace vanta_operations {

std::string Placed(const std::string &place, const std::string &reason) {
  for (const char *start : {"member ", "no member ", "item "}) {
    if (reason.rfind(start, 0) == 0) return place + ": " + reason;
  }
  return place + " " + reason;
}

Members::Members(const Json &object) : object_(&object) {
  if (!object.is_object()) throw BadCommand("is no object");
}

const Json *Members::Find(const char *name, bool required) {
  taken_.insert(name);
  const auto found = object_->find(name);
  if (found != object_->end()) return &*found;
  if (required) throw BadCommand("member '" + std::string(name) + "' is missing");
  return nullptr;
}

void Members::End() const {
  if (object_ == nullptr) return;
  for (const auto &[name, value] : object_->items()) {
    if (taken_.count(name) == 0) throw BadCommand("no member is called '" + name + "' here");
  }
}

void Members::Describe(const char *name, const std::string &form, bool required) {
  if (!forms_.empty()) forms_ += ", ";
  const std::string text = std::string(name) + ": " + form;
  forms_ += required ? text : "[" + text + "]";
}

}  // namespace vanta_operations
