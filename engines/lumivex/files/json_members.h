// Reads the members of a JSON object one by one and remembers the first thing that is wrong with it.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivex {

// Every reader leaves its target as it is where the member is absent. Borrows: the object. Threads: one at a time.
class JsonMembers {
 public:
  using Json = nlohmann::ordered_json;

  // `what` names the object in reasons: "layer 2".
  JsonMembers(const Json &object, std::string what);

  // "format", which must be there and be this number.
  void Format(int64_t number);
  void Number(std::string_view name, float minimum, float maximum, float &out);
  void Whole(std::string_view name, int64_t minimum, int64_t maximum, int64_t &out);
  void Whole(std::string_view name, int64_t minimum, int64_t maximum, std::optional<int64_t> &out);
  void Flag(std::string_view name, bool &out);
  void Text(std::string_view name, size_t most_bytes, std::string &out);
  // Null for a member that is absent or of another kind; the latter is a reason.
  const Json *Object(std::string_view name);
  const Json *List(std::string_view name, size_t most);
  const Json *Any(std::string_view name);

  // Members that nobody asked for are misspelt ones.
  void End();

  void Fail(std::string_view name, std::string_view reason);
  bool Good() const { return reason_.empty(); }
  const std::string &Reason() const { return reason_; }
  void Take(const JsonMembers &inner);  // its reason is this object's, too

 private:
  const Json &object_;
  const std::string what_;
  std::vector<std::string_view> asked_;
  std::string reason_;
};

}  // namespace lumivex
