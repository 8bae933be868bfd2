// Reads the members of a JSON object by name and type, and tells which members there are.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>

namespace vanta_operations {

using Json = nlohmann::ordered_json;

// Why a command line is refused: a reason without a full stop.
class BadCommand : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "PLACE REASON"; "PLACE: REASON" where the reason begins with a place of its own.
std::string Placed(const std::string &place, const std::string &reason);

// How one type is written: `static void Read(const Json &, T &)`, which throws BadCommand("is no number") for instance,
// and `static std::string Form()`, which says the same to a reader of the help.
template <typename T>
struct Value;

// One definition of a record's members serves both: a Members made with an object reads it, one made without collects
// the forms.
class Members {
 public:
  Members() = default;
  // Throws BadCommand where `object` is none. It must outlive this.
  explicit Members(const Json &object);

  // Throw BadCommand: a missing member (Need), a wrong type or range (both).
  template <typename T>
  void Need(const char *name, T &field) {
    Take(name, field, true);
  }
  template <typename T>
  void May(const char *name, T &field) {
    Take(name, field, false);
  }
  // After the last member: throws BadCommand where the object holds others.
  void End() const;

  // "type: number, [flag: true or false]"; brackets stand around what may be missing.
  const std::string &forms() const { return forms_; }

 private:
  template <typename T>
  void Take(const char *name, T &field, bool required) {
    if (object_ == nullptr) {
      Describe(name, Value<T>::Form(), required);
      return;
    }
    const Json *value = Find(name, required);
    if (value == nullptr) return;
    try {
      Value<T>::Read(*value, field);
    } catch (const BadCommand &reason) {
      throw BadCommand(Placed("member '" + std::string(name) + "'", reason.what()));
    }
  }
  const Json *Find(const char *name, bool required);
  void Describe(const char *name, const std::string &form, bool required);

  const Json *object_ = nullptr;
  std::set<std::string> taken_;
  std::string forms_;
};

}  // namespace vanta_operations
