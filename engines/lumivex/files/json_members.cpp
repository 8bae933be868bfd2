#include "files/json_members.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivex {
namespace {

std::string Shown(double value) {
  std::string text = std::to_string(value);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

}  // namespace

JsonMembers::JsonMembers(const Json &object, std::string what) : object_(object), what_(std::move(what)) {
  if (!object_.is_object()) reason_ = what_ + " is no object";
}

const JsonMembers::Json *JsonMembers::Any(std::string_view name) {
  asked_.push_back(name);
  if (!Good()) return nullptr;
  const auto found = object_.find(std::string(name));
  return found == object_.end() ? nullptr : &*found;
}

void JsonMembers::Format(int64_t number) {
  const Json *value = Any("format");
  if (value && *value == number) return;
  Fail("format", (value ? "is not " : "is missing; it must be ") + std::to_string(number));
}

void JsonMembers::Number(std::string_view name, float minimum, float maximum, float &out) {
  const Json *value = Any(name);
  if (!value) return;
  if (!value->is_number()) return Fail(name, "is no number");
  const auto number = value->get<double>();
  if (!(number >= static_cast<double>(minimum) && number <= static_cast<double>(maximum)))
    return Fail(name,
                "is not from " + Shown(static_cast<double>(minimum)) + " to " + Shown(static_cast<double>(maximum)));
  out = static_cast<float>(number);
}

void JsonMembers::Whole(std::string_view name, int64_t minimum, int64_t maximum, int64_t &out) {
  std::optional<int64_t> number;
  Whole(name, minimum, maximum, number);
  if (number) out = *number;
}

void JsonMembers::Whole(std::string_view name, int64_t minimum, int64_t maximum, std::optional<int64_t> &out) {
  const Json *value = Any(name);
  if (!value) return;
  if (!value->is_number_integer()) return Fail(name, "is no whole number");
  // A number beyond the signed range is stored unsigned and would come out negative.
  const bool beyond = value->is_number_unsigned() && value->get<uint64_t>() > static_cast<uint64_t>(INT64_MAX);
  const auto number = value->get<int64_t>();
  if (beyond || number < minimum || number > maximum)
    return Fail(name, "is not from " + std::to_string(minimum) + " to " + std::to_string(maximum));
  out = number;
}

void JsonMembers::Flag(std::string_view name, bool &out) {
  const Json *value = Any(name);
  if (!value) return;
  if (!value->is_boolean()) return Fail(name, "is neither true nor false");
  out = value->get<bool>();
}

void JsonMembers::Text(std::string_view name, size_t most_bytes, std::string &out) {
  const Json *value = Any(name);
  if (!value) return;
  if (!value->is_string()) return Fail(name, "is no text");
  if (value->get_ref<const std::string &>().size() > most_bytes)
    return Fail(name, "is longer than " + std::to_string(most_bytes) + " bytes");
  out = value->get<std::string>();
}

const JsonMembers::Json *JsonMembers::Object(std::string_view name) {
  const Json *value = Any(name);
  if (!value || value->is_object()) return value;
  Fail(name, "is no object");
  return nullptr;
}

const JsonMembers::Json *JsonMembers::List(std::string_view name, size_t most) {
  const Json *value = Any(name);
  if (!value) return nullptr;
  if (!value->is_array()) {
    Fail(name, "is no list");
    return nullptr;
  }
  if (value->size() > most) {
    Fail(name, "has more than " + std::to_string(most) + " entries");
    return nullptr;
  }
  return value;
}

void JsonMembers::End() {
  if (!Good()) return;
  for (const auto &[name, value] : object_.items()) {
    if (std::find(asked_.begin(), asked_.end(), name) == asked_.end()) return Fail(name, "is no member of it");
  }
}

void JsonMembers::Fail(std::string_view name, std::string_view reason) {
  if (Good()) reason_ = what_ + ": \"" + std::string(name) + "\" " + std::string(reason);
}

void JsonMembers::Take(const JsonMembers &inner) {
  if (Good()) reason_ = inner.reason_;
}

}  // namespace lumivex
