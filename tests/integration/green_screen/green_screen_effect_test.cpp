// The green screen with effect files that lack one parameter or one technique, on whole libobs: what is logged, and
// what the picture becomes.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <util/bmem.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace {

std::string effect_path;  // what the module gets for its effect file; empty: its own

}  // namespace

// libobs keeps compiled effects by their path, so each variant needs a path of its own.
extern "C" char *obs_find_module_file(obs_module_t *module, const char *file) {
  if (!effect_path.empty() && std::string(file) == "lx_green_screen_filter.effect") return bstrdup(effect_path.c_str());
  using Find = char *(*)(obs_module_t *, const char *);
  static const auto next = reinterpret_cast<Find>(dlsym(RTLD_NEXT, "obs_find_module_file"));
  return next(module, file);
}

namespace vanta_integration {
namespace {

constexpr uint32_t kWidth = 128, kHeight = 96;
constexpr int kShots = 2;  // each in a tick of its own
constexpr char kEveryPass[] = R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})";

// ---- The variants of the effect's text ----

std::string EffectText() {
  std::ifstream file(VANTA_TEST_DATA "/lx_green_screen_filter.effect");
  return {std::istreambuf_iterator<char>(file), {}};
}

const char *ZeroOf(const std::string &type) {
  if (type == "int") return "0";
  if (type == "float") return "0.0";
  if (type == "float2") return "float2(0.0, 0.0)";
  if (type == "float3") return "float3(0.0, 0.0, 0.0)";
  return "float4(0.0, 0.0, 0.0, 0.0)";
}

// Puts zero where `name` is read: for a texture, in place of the whole call.
std::string ReadsAsZero(const std::string &text, const std::string &name, const std::string &type) {
  if (type != "texture2d") return std::regex_replace(text, std::regex("\\b" + name + "\\b"), ZeroOf(type));
  std::string result = text;
  const std::regex call("\\b" + name + "\\.(Load|SampleLevel|Sample)\\(");
  for (std::smatch found; std::regex_search(result, found, call);) {
    const auto start = static_cast<size_t>(found.position());
    size_t end = start + static_cast<size_t>(found.length());
    for (int depth = 1; depth > 0 && end < result.size(); ++end) depth += (result[end] == '(') - (result[end] == ')');
    result.replace(start, end - start, ZeroOf("float4"));
  }
  return result;
}

// Empty where the text has no such parameter.
std::string WithoutParameter(const std::string &text, const std::string &name) {
  std::smatch found;
  if (!std::regex_search(text, found, std::regex("uniform\\s+(\\w+)\\s+" + name + ";"))) return {};
  return ReadsAsZero(found.prefix().str() + found.suffix().str(), name, found[1].str());
}

// Empty where the text has no such technique.
std::string WithoutTechnique(const std::string &text, const std::string &name) {
  std::smatch found;
  if (!std::regex_search(text, found, std::regex("technique " + name + "\n\\{\n[^}]*\\}\n\\}"))) return {};
  return found.prefix().str() + found.suffix().str();
}

// ---- The picture ----

// A red quarter on green.
Picture Front() {
  Picture picture(kWidth, kHeight);
  picture.Fill(0, 255, 0);
  for (uint32_t y = 0; y < kHeight / 2; ++y) {
    for (uint32_t x = 0; x < kWidth / 2; ++x) {
      picture.At(x, y)[0] = 200;
      picture.At(x, y)[1] = 30;
    }
  }
  return picture;
}

enum class Seen {
  kKeyed,      // the backing gone, the front's rim taken in
  kFeathered,  // the backing gone, the rim only softened
  kRawKey,     // the backing gone, the rim as it was
  kOpaque,     // nothing gone, the colours perhaps treated
  kUntouched,  // the source's own pixels
  kBlank,
  kOther,
};

Seen Judge(const Screenshot &shot, const Picture &source) {
  if (shot.pixels == source.pixels) return Seen::kUntouched;
  if (shot.width != kWidth || shot.height != kHeight) return Seen::kOther;
  const int core = shot.At(20, 16)[3], rim = shot.At(kWidth / 2 - 2, 16)[3], backing = shot.At(100, 80)[3];
  if (core == 0 && rim == 0 && backing == 0) return Seen::kBlank;
  if (core != 255) return Seen::kOther;
  if (backing == 255 && rim == 255) return Seen::kOpaque;
  if (backing != 0) return Seen::kOther;
  return rim == 255 ? Seen::kRawKey : rim == 0 ? Seen::kKeyed : Seen::kFeathered;
}

// ---- What each absence does ----

using Lines = std::vector<std::string>;

struct Absence {
  const char *name;
  Seen seen;
  Lines each_frame = {};
  int required = 0;  // of a parameter
};

const Lines kNoImage{"image param missing, fallback passthrough"};
const Lines kNoOutput{"output draw unavailable (texture=1 supported=0), passthrough"};
const Lines kNoDenoise{"denoise missing texture/effect param", "denoise failed, continue with raw alpha"};
const Lines kNoShrink{"alpha shrink missing texture/effect param",
                      "alpha shrink failed, continue with raw alpha (shrink=2.0000)"};
const Lines kNoBlur{"fg alpha blur missing texture/effect param",
                    "fg alpha blur failed, continue without blur (intensity=0.2500)"};

const Absence kParameters[] = {
    {"image", Seen::kUntouched, kNoImage, 1},
    {"uv_lut", Seen::kOpaque, {}, 1},
    {"output_tex", Seen::kUntouched, kNoOutput},
    {"uvka_tex", Seen::kKeyed, {}, 1},
    {"alpha_adjust_tex", Seen::kOpaque},
    {"prev_state_tex", Seen::kKeyed, kNoDenoise},
    {"blur_tex", Seen::kRawKey, kNoBlur},
    {"angle_info", Seen::kOpaque, {}, 1},  // a wedge without width
    {"key_info", Seen::kOpaque, {}, 1},
    {"spill_sup_flag", Seen::kKeyed, {}, 1},
    {"spill_sup_offset", Seen::kKeyed, {}, 1},
    {"spill_sup_yth", Seen::kKeyed, {}, 1},
    {"alpha_adjust_flag", Seen::kKeyed, {}, 1},
    {"alpha_down", Seen::kKeyed, {}, 1},
    {"alpha_up", Seen::kKeyed, {}, 1},
    {"blue_bg_flag", Seen::kKeyed, {}, 1},
    {"spill_sup_scale_rgb", Seen::kKeyed, {}, 1},
    {"spill_sup_red_w", Seen::kKeyed, {}, 1},
    {"spill_sup_mix", Seen::kKeyed, {}, 1},
    {"alpha_shrink_offset", Seen::kFeathered, kNoShrink},
    {"denoise_q", Seen::kKeyed, kNoDenoise},
    {"denoise_init_flag", Seen::kKeyed, kNoDenoise},
    {"denoise_offset", Seen::kKeyed, kNoDenoise},
    {"blur_offset", Seen::kRawKey, kNoBlur},
    {"blur_weight", Seen::kRawKey, kNoBlur},
    {"blur_halfpixel", Seen::kRawKey, kNoBlur},
};

// A pass that draws nothing leaves transparent black, which means opaque in a key and nothing in a picture.
const Absence kTechniques[] = {
    {"KeyLut", Seen::kOpaque},
    {"LutApply", Seen::kOpaque},
    {"Denoise", Seen::kOpaque},
    {"AlphaShrink", Seen::kOpaque},
    {"BlurDown", Seen::kKeyed},  // nothing to feather with; the shrink stands
    {"BlurUp", Seen::kKeyed},
    {"BlurStep", Seen::kOpaque},
    {"SpillSuppression", Seen::kBlank},
    {"Passthrough", Seen::kKeyed},
    {"OutputDraw", Seen::kUntouched, kNoOutput},
};

class GreenScreenEffectFile : public testing::Test {
 protected:
  GreenScreenEffectFile() {
    RegisterPaintedSource();
    std::filesystem::create_directories(folder_);
  }
  ~GreenScreenEffectFile() override {
    effect_path.clear();
    std::filesystem::remove_all(folder_);
  }

  void Expect(const std::string &text, const Lines &at_load, const Lines &each_frame, Seen seen) {
    ASSERT_FALSE(text.empty()) << "the effect has no such thing to take away";
    effect_path = folder_ / (std::to_string(++variants_) + ".effect");
    std::ofstream(effect_path) << text;
    const vanta_test::LogCapture log;
    const Picture picture = Front();
    PaintedSource source;
    source.Paint(picture);
    const GreenScreen filter(source.Get(), kEveryPass);
    for (int shot = 0; shot < kShots; ++shot) {
      WaitForTicks(2);
      EXPECT_EQ(Judge(TakeScreenshot(source.Get()), picture), seen) << "shot " << shot;
    }
    std::vector<vanta_test::LogLine> wanted;
    const auto want = [&](const Lines &lines) {
      for (const std::string &line : lines) wanted.push_back({LOG_ERROR, "[LX_green_screen_filter][shader] " + line});
    };
    want(at_load);
    for (int shot = 0; shot < kShots; ++shot) want(each_frame);
    const std::vector<vanta_test::LogLine> lines = log.LinesWith("[LX_green_screen_filter]");
    EXPECT_EQ(lines.size(), wanted.size());
    for (size_t i = 0; i < lines.size() && i < wanted.size(); ++i) {
      EXPECT_EQ(lines[i].text, wanted[i].text);
      EXPECT_EQ(lines[i].level, wanted[i].level);
    }
  }

  const std::string whole_ = EffectText();

 private:
  const ObsSession session_;
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("green_screen_effect_" + std::to_string(getpid()));
  int variants_ = 0;
};

TEST_F(GreenScreenEffectFile, TheWholeFileKeysInSilence) {
  Expect(whole_, {}, {}, Seen::kKeyed);
}

TEST_F(GreenScreenEffectFile, EachMissingParameterIsNamedAndCostsWhatDependsOnIt) {
  for (const Absence &absence : kParameters) {
    SCOPED_TRACE(absence.name);
    const std::string line =
        std::string("missing effect param: ") + absence.name + " (required=" + std::to_string(absence.required) + ")";
    Expect(WithoutParameter(whole_, absence.name), {line}, absence.each_frame, absence.seen);
  }
}

TEST_F(GreenScreenEffectFile, EachMissingTechniqueIsNamedAndDrawsNothing) {
  for (const Absence &absence : kTechniques) {
    SCOPED_TRACE(absence.name);
    Expect(WithoutTechnique(whole_, absence.name), {std::string("missing effect technique: ") + absence.name},
           absence.each_frame, absence.seen);
  }
}

TEST_F(GreenScreenEffectFile, AFileThatDoesNotCompileMakesNoFilter) {
  effect_path = std::filesystem::temp_directory_path() / ("green_screen_broken_" + std::to_string(getpid()));
  std::ofstream(effect_path) << whole_ << "\ntechnique {";
  const vanta_test::LogCapture log;
  {
    const OBSSourceAutoRelease filter = obs_source_create_private("LX_green_screen_filter", "broken", nullptr);
    EXPECT_EQ(obs_obj_get_data(filter), nullptr);
  }
  EXPECT_TRUE(log.Has(LOG_ERROR,
                      "[LX_green_screen_filter][shader] load effect failed: requested=lx_green_screen_filter.effect "
                      "resolved=" +
                          effect_path + " exists=1"));
  EXPECT_EQ(log.CountWith("[LX_green_screen_filter][shader] effect compile detail: "), 1u);
  std::filesystem::remove(effect_path);
}

}  // namespace
}  // namespace vanta_integration
