// The variant value: construction, and access that takes any tag.
#include <cstdlib>
#include <utility>

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {
namespace {

// The container of `value`, no longer shared with copies of it.
template <typename Container>
Container &Own(Any &value) {
  if (!value.payload || value.payload.use_count() > 1) {
    value.payload = value.payload ? std::make_shared<Container>(*static_cast<const Container *>(value.payload.get()))
                                  : std::make_shared<Container>();
  }
  return *static_cast<Container *>(value.payload.get());
}

// Handed out where there is no container: a new one for each call, so that nobody sees what another wrote.
template <typename Container>
Container &Nothing() {
  thread_local Container nothing;
  nothing = Container();
  return nothing;
}

}  // namespace

Any::Any() = default;
Any::Any(const char *value) : tag(kText), text(value ? value : "") {}
Any::Any(int value) : tag(kInteger), number(value) {}
Any::Any(const std::string &value) : tag(kText), text(value) {}
Any::Any(const char *key, const Any &value) {
  addMapItem(key ? key : "", value);
}
Any::Any(const Any &) = default;
Any::Any(Any &&) noexcept = default;
Any &Any::operator=(const Any &) = default;
Any &Any::operator=(Any &&) noexcept = default;
Any::~Any() = default;

Any Any::newMap(const std::string &key, const Any &value) {
  Any map;
  map.addMapItem(key, value);
  return map;
}

void Any::addMapItem(const std::string &key, const Any &value) {
  Any copy = value;  // `value` may be this map, or stand in it
  if (tag != kMap) {
    *this = Any();
    tag = kMap;
  }
  Own<AnyMap>(*this).items[key] = std::move(copy);
}

Any::AnyMap &Any::asMap() {
  return tag == kMap ? Own<AnyMap>(*this) : Nothing<AnyMap>();
}

const Any::AnyMap &Any::asMap() const {
  static const AnyMap empty;
  return tag == kMap && payload ? *static_cast<const AnyMap *>(payload.get()) : empty;
}

std::vector<Any> &Any::asVec() {
  return tag == kVector ? Own<std::vector<Any>>(*this) : Nothing<std::vector<Any>>();
}

float Any::toFloat32() const {
  switch (tag) {
    case kInteger:
    case kFloat:
      return static_cast<float>(number);
    case kText:
      return std::strtof(text.c_str(), nullptr);
    default:
      return 0.0f;
  }
}

const Any &Any::AnyMap::get(const std::string &key, const Any &fallback) const {
  const auto entry = items.find(key);
  return entry == items.end() ? fallback : entry->second;
}

Any Any::AnyMap::get(const std::string &key, const Any &fallback) {
  return std::as_const(*this).get(key, fallback);
}

}  // namespace tessera
