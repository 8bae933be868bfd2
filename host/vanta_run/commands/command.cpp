#include "commands/command.h"

#include "commands/settings_update.h"
#include "common/source_names.h"
#include "vanta_host.h"
#include "vanta_operations/values.h"

#include <vanta_base/json_text.h>

namespace vanta_operations {

// The object of an update, checked.
template <>
struct Value<Json> {
  static void Read(const Json &value, Json &field) {
    vanta_run::CheckSettings(value);
    field = value;
  }
  static std::string Form() { return "object"; }
};

}  // namespace vanta_operations

namespace vanta_run {
namespace {

// The parser's own words, from the place on: "column 5: syntax error while ...".
std::string ParserReason(const std::string &text) {
  const size_t place = text.find("column ");
  std::string reason = "is not JSON: " + (place == std::string::npos ? text : text.substr(place));
  for (char &letter : reason) {
    if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7f') letter = ' ';
  }
  return reason;
}

Json ParseObject(const std::string &line) {
  Json json;
  try {
    json = vanta::ReadJsonOrThrow(line);
  } catch (const Json::exception &error) {
    throw BadCommand(ParserReason(error.what()));
  }
  if (!json.is_object()) throw BadCommand("is no JSON object");
  return json;
}

std::optional<double> TakeTime(Json &json) {
  if (!json.contains("at")) return std::nullopt;
  const Json at = json["at"];
  json.erase("at");
  if (!at.is_number() || at.get<double>() < 0) throw BadCommand("member 'at' is no number of seconds, 0 or more");
  return at.get<double>();
}

std::optional<vanta_host_switch> FindSwitch(const std::string &name) {
  for (int i = 0; i < VANTA_SWITCH_COUNT; ++i) {
    const auto which = static_cast<vanta_host_switch>(i);
    if (name == vanta_host_switch_name(which)) return which;
  }
  return std::nullopt;
}

// A script is read before the run has its sources, but their names are known.
void CheckSources(const Json &names) {
  for (const Json &name : names) {
    if (name != kFilterName && name != kSourceName)
      throw BadCommand("member 'sources' names no source '" + name.get<std::string>() + "'");
  }
}

Command ReadCall(Json json) {
  if (!json["call"].is_string()) throw BadCommand("member 'call' is no text");
  const auto name = json["call"].get<std::string>();
  json.erase("call");
  const vanta_operations::Operation *operation = vanta_operations::FindOperation(name);
  if (operation == nullptr) throw BadCommand("no operation is called '" + name + "'");
  Command command{name, operation->read(json)};
  if (json.contains("sources")) CheckSources(json["sources"]);
  return command;
}

Command ReadUpdate(const Json &json) {
  Members members(json);
  Json settings;
  members.Need("update", settings);
  members.End();
  return {"update", [text = vanta::WriteJson(settings)](CommandTarget &target) {
            target.Update(text);
            return Json();
          }};
}

Command ReadSwitch(const Json &json) {
  Members members(json);
  std::string name;
  bool on = false;
  members.Need("switch", name);
  members.Need("on", on);
  members.End();
  const auto which = FindSwitch(name);
  if (!which) throw BadCommand("no host switch is called '" + name + "'");
  return {"switch", [which = *which, on](CommandTarget &) {
            vanta_host_set_switch(which, on);
            return Json();
          }};
}

Command ReadQuit(const Json &json) {
  Members members(json);
  bool quit = false;
  members.Need("quit", quit);
  members.End();
  if (!quit) throw BadCommand("member 'quit' is not true");
  return {"quit", [](CommandTarget &target) {
            target.Quit();
            return Json();
          }};
}

struct Kind {
  const char *member;
  Command (*read)(Json);
};

constexpr Kind kKinds[] = {
    {"call", [](Json json) { return ReadCall(std::move(json)); }},
    {"update", [](Json json) { return ReadUpdate(json); }},
    {"switch", [](Json json) { return ReadSwitch(json); }},
    {"quit", [](Json json) { return ReadQuit(json); }},
};

}  // namespace

std::optional<Command> ReadCommand(const std::string &line, std::optional<double> &at) {
  at.reset();
  const size_t first = line.find_first_not_of(" \t\r\n");
  if (first == std::string::npos || line[first] == '#') return std::nullopt;
  Json json = ParseObject(line.substr(first, line.find_last_not_of(" \t\r\n") + 1 - first) == "quit"
                              ? std::string(R"({"quit":true})")
                              : line);
  at = TakeTime(json);
  const Kind *kind = nullptr;
  for (const Kind &known : kKinds) {
    if (!json.contains(known.member)) continue;
    if (kind != nullptr)
      throw BadCommand("asks for two things, '" + std::string(kind->member) + "' and '" + known.member + "'");
    kind = &known;
  }
  if (kind == nullptr) throw BadCommand("asks for nothing: neither 'call', 'update', 'switch' nor 'quit'");
  return kind->read(std::move(json));
}

}  // namespace vanta_run
