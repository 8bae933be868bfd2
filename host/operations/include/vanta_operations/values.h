// How the types of the control object's arguments are written in JSON.
#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "vanta_filter/engine/records.h"
#include "vanta_operations/members.h"

namespace vanta_operations {

// Throw BadCommand.
bool ReadBool(const Json &value);
int32_t ReadInteger(const Json &value);
float ReadFloat(const Json &value);
std::string ReadText(const Json &value);
void ReadText(const Json &value, char *target, size_t size);  // the terminator included
// By its name, or by its number as engines may know more types than have names.
LXBeautyType ReadBeautyType(const Json &value);
LXEffectType ReadEffectType(const Json &value);

// A record is anything whose members are listed by `ListMembers(Members &, T &)`.
template <typename T>
concept Record = requires(Members &members, T &record) {
  ListMembers(members, record);
};

template <>
struct Value<bool> {
  static void Read(const Json &value, bool &field) { field = ReadBool(value); }
  static std::string Form() { return "true or false"; }
};

template <>
struct Value<int32_t> {
  static void Read(const Json &value, int32_t &field) { field = ReadInteger(value); }
  static std::string Form() { return "whole number"; }
};

template <>
struct Value<float> {
  static void Read(const Json &value, float &field) { field = ReadFloat(value); }
  static std::string Form() { return "number"; }
};

template <>
struct Value<std::string> {
  static void Read(const Json &value, std::string &field) { field = ReadText(value); }
  static std::string Form() { return "text"; }
};

template <size_t N>
struct Value<char[N]> {
  static void Read(const Json &value, char (&field)[N]) { ReadText(value, field, N); }
  static std::string Form() { return "text"; }
};

template <>
struct Value<LXBeautyType> {
  static void Read(const Json &value, LXBeautyType &field) { field = ReadBeautyType(value); }
  static std::string Form() { return "name or number"; }
};

template <>
struct Value<LXEffectType> {
  static void Read(const Json &value, LXEffectType &field) { field = ReadEffectType(value); }
  static std::string Form() { return "name or number"; }
};

template <typename T>
requires std::is_enum_v<T>
struct Value<T> {
  static void Read(const Json &value, T &field) { field = static_cast<T>(ReadInteger(value)); }
  static std::string Form() { return "whole number"; }
};

template <typename T>
struct Value<std::optional<T>> {
  static void Read(const Json &value, std::optional<T> &field) { Value<T>::Read(value, field.emplace()); }
  static std::string Form() { return Value<T>::Form(); }
};

// Where an item of a list is wrong, its number is told, from 1.
template <typename Read>
void ReadItems(const Json &value, Read read) {
  if (!value.is_array()) throw BadCommand("is no list");
  for (size_t i = 0; i < value.size(); ++i) {
    try {
      read(value[i], i);
    } catch (const BadCommand &reason) {
      throw BadCommand(Placed("item " + std::to_string(i + 1), reason.what()));
    }
  }
}

template <typename T>
struct Value<std::vector<T>> {
  static void Read(const Json &value, std::vector<T> &field) {
    ReadItems(value, [&field](const Json &item, size_t) { Value<T>::Read(item, field.emplace_back()); });
  }
  static std::string Form() { return "[" + Value<T>::Form() + ", ..]"; }
};

template <typename T, size_t N>
struct Value<T[N]> {
  static void Read(const Json &value, T (&field)[N]) {
    if (!value.is_array() || value.size() != N) throw BadCommand("is no list of " + std::to_string(N));
    ReadItems(value, [&field](const Json &item, size_t i) { Value<T>::Read(item, field[i]); });
  }
  static std::string Form() { return "[" + std::to_string(N) + " of " + Value<T>::Form() + "]"; }
};

// A map is an object. JSON's keys are texts, so that a number stands in quotes there.
template <typename K, typename T>
struct Value<std::map<K, T>> {
  static void Read(const Json &value, std::map<K, T> &field) {
    if (!value.is_object()) throw BadCommand("is no object");
    for (const auto &[name, item] : value.items()) {
      try {
        K key{};
        Value<K>::Read(AsKey(name), key);
        Value<T>::Read(item, field[key]);
      } catch (const BadCommand &reason) {
        throw BadCommand(Placed("member '" + name + "'", reason.what()));
      }
    }
  }
  static std::string Form() { return "{\"" + Value<K>::Form() + "\": " + Value<T>::Form() + ", ..}"; }

 private:
  static Json AsKey(const std::string &name) {
    int32_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool whole = error == std::errc() && end == name.data() + name.size() && !name.empty();
    return whole && !std::is_same_v<K, std::string> ? Json(number) : Json(name);
  }
};

template <Record T>
struct Value<T> {
  static void Read(const Json &value, T &field) {
    Members members(value);
    ListMembers(members, field);
    members.End();
  }
  static std::string Form() {
    Members members;
    T none{};
    ListMembers(members, none);
    return "{" + members.forms() + "}";
  }
};

}  // namespace vanta_operations
