#include "green_screen_bench.h"

#include <algorithm>

#include "greenscreen/green_screen_filter_source.h"

namespace vanta_test {
namespace {

bool TakePrefix(std::string &text, const std::string &prefix) {
  if (text.rfind(prefix, 0) != 0) return false;
  text.erase(0, prefix.size());
  return true;
}

}  // namespace

GreenScreenBench::GreenScreenBench() : settings_(obs_data_create()) {
  parent_.name = "parent";
  target_.name = "target";
  target_.width = 64;
  target_.height = 48;
  filter_.name = "filter";
  filter_.id = "LX_green_screen_filter";
  filter_.parent = &parent_;
  filter_.target = &target_;
  host_double::Reset();
  vanta::RegisterGreenScreenFilter();
  record_ = host_double::Registered("LX_green_screen_filter");
}

GreenScreenBench::~GreenScreenBench() {
  gs_recorder::FailCall(0);
  gs_recorder::AllowAll();
  Destroy();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
  EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>{});
}

void GreenScreenBench::Create(const std::string &config) {
  Destroy();
  gs_recorder::Reset();
  obs_data_set_string(settings_, "config", config.c_str());
  instance_ = record_.create(settings_, &filter_);
  ASSERT_NE(instance_, nullptr);
  ClearNotes();
}

void GreenScreenBench::Destroy() {
  if (instance_) record_.destroy(instance_);
  instance_ = nullptr;
}

void GreenScreenBench::Update(const std::string &config) {
  obs_data_set_string(settings_, "config", config.c_str());
  record_.update(instance_, settings_);
}

void GreenScreenBench::Render() {
  const gs_recorder::InGraphics inside;
  record_.video_render(instance_, nullptr);
}

void GreenScreenBench::NextFrame() {
  ClearNotes();
  Tick();
  Render();
}

void GreenScreenBench::ClearNotes() {
  gs_recorder::Clear();
  log_.Clear();
}

std::vector<std::string> GreenScreenBench::Errors() const {
  std::vector<std::string> errors;
  for (const LogLine &line : log_.LinesWith("[LX_green_screen_filter]")) {
    EXPECT_EQ(line.level, LOG_ERROR) << line.text;
    std::string text = line.text;
    TakePrefix(text, kShader);
    errors.push_back(text);
  }
  return errors;
}

bool GreenScreenBench::DrawnKeyed() const {
  return gs_recorder::Count("obs_source_process_filter_tech_end(filter, effect1, 0, 0, OutputDraw)") == 1;
}

bool GreenScreenBench::PassedThrough() const {
  return gs_recorder::Count("obs_source_process_filter_end(filter, base effect, 0, 0)") == 1;
}

bool GreenScreenBench::Skipped() const {
  return gs_recorder::Count("obs_source_skip_video_filter(filter)") == 1;
}

std::vector<std::string> GreenScreenBench::Passes() {
  std::vector<std::string> passes;
  std::string textures, target;
  for (std::string call : gs_recorder::Calls()) {
    if (TakePrefix(call, "gs_effect_set_texture(")) {
      call.pop_back();
      const size_t comma = call.find(", ");
      textures += " " + call.substr(0, comma) + "=" + call.substr(comma + 2);
    } else if (TakePrefix(call, "gs_texrender_begin(")) {
      call.pop_back();
      const size_t first = call.find(", "), second = call.rfind(", ");
      target = call.substr(0, first) + " " + call.substr(first + 2, second - first - 2) + "x" + call.substr(second + 2);
    } else if (!target.empty() && TakePrefix(call, "gs_effect_loop(effect1, ")) {
      call.pop_back();
      passes.push_back(call + " " + target + textures);
      textures.clear();
      target.clear();
    }
  }
  return passes;
}

std::vector<std::string> GreenScreenBench::PassNames() {
  std::vector<std::string> names = Passes();
  for (std::string &name : names) name.erase(name.find(' '));
  return names;
}

std::string GreenScreenBench::LastValue(const std::string &param) {
  std::string value;
  for (const std::string &call : gs_recorder::Calls()) {
    const size_t at = call.find("(" + param + ", ");
    if (call.rfind("gs_effect_set_", 0) == 0 && at != std::string::npos) {
      value = call.substr(at + param.size() + 3);
      value.pop_back();
    }
  }
  return value;
}

}  // namespace vanta_test
