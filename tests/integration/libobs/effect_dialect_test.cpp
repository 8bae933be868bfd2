// The stage shaders of both effect files in the dialect that libobs hands to Direct3D's compiler. No Direct3D compiler
// runs here, so glslang's reading of that dialect stands in for it: it finds what OpenGL alone would take (types and
// functions of its own, unknown names), though not each warning that Direct3D would give.
#include <dlfcn.h>
#include <graphics/shader-parser.h>
#include <gtest/gtest.h>
#include <obs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "fixtures/libobs/obs_session.h"

namespace {

struct StageShader {
  const char *stage;  // as glslang names it
  std::string text;   // as libobs's effect parser cut it out of the file
};

std::vector<StageShader> *noted = nullptr;  // where shaders are noted while an effect is made

using Create = gs_shader_t *(*)(const char *, const char *, char **);

gs_shader_t *NoteAndCreate(const char *stage, const char *next, const char *text, const char *file, char **error) {
  if (noted) noted->push_back({stage, text});
  return reinterpret_cast<Create>(dlsym(RTLD_NEXT, next))(text, file, error);
}

}  // namespace

// libobs makes an effect's shaders through these; what the program defines wins over its own.
extern "C" gs_shader_t *gs_vertexshader_create(const char *text, const char *file, char **error) {
  return NoteAndCreate("vert", "gs_vertexshader_create", text, file, error);
}
extern "C" gs_shader_t *gs_pixelshader_create(const char *text, const char *file, char **error) {
  return NoteAndCreate("frag", "gs_pixelshader_create", text, file, error);
}

namespace vanta_integration {
namespace {

std::vector<StageShader> ShadersOf(const char *file) {
  std::vector<StageShader> shaders;
  noted = &shaders;
  obs_enter_graphics();
  char *error = nullptr;
  gs_effect_t *effect = gs_effect_create_from_file(file, &error);
  EXPECT_NE(effect, nullptr) << file << ": " << (error ? error : "");
  bfree(error);
  gs_effect_destroy(effect);
  obs_leave_graphics();
  noted = nullptr;
  return shaders;
}

// The words that libobs's Direct3D 11 back end replaces in a shader's text before it compiles it.
std::string_view Direct3DWord(std::string_view word) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kWords = {{
      {"POSITION", "SV_Position"},
      {"TARGET", "SV_Target"},
      {"VERTEXID", "SV_VertexID"},
      {"sampler_state", "SamplerState"},
      {"texture2d", "Texture2D"},
      {"texture3d", "Texture3D"},
      {"texture_cube", "TextureCube"},
  }};
  for (const auto &[ours, theirs] : kWords) {
    if (word == ours) return theirs;
  }
  return word;
}

std::string Direct3DText(const std::string &text) {
  shader_parser parser;
  shader_parser_init(&parser);
  EXPECT_TRUE(shader_parse(&parser, text.c_str(), "stage")) << text;
  std::string result = "static const bool obs_glsl_compile = false;\n\n";
  for (const cf_token *token = cf_preprocessor_get_tokens(&parser.cfp.pp); token->type != CFTOKEN_NONE; ++token) {
    result += Direct3DWord({token->str.array, token->str.len});
  }
  shader_parser_free(&parser);
  return result;
}

// What glslang says against the shader; empty where it takes it.
std::string Objection(const StageShader &shader) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("vanta-stage-" + std::to_string(getpid()) + ".hlsl");
  std::ofstream(file) << Direct3DText(shader.text);
  const std::string command = std::string(VANTA_TEST_GLSLANG) + " -D -V -e main -S " + shader.stage +
                              " -o /dev/null '" + file.string() + "' 2>&1";
  std::string output;
  FILE *pipe = popen(command.c_str(), "r");
  if (!pipe) return "no process for " + command;
  for (int c; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  const int status = pclose(pipe);
  std::filesystem::remove(file);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return {};
  return output + "\nin\n" + shader.text;
}

class EffectDialect : public testing::TestWithParam<const char *> {};

TEST_P(EffectDialect, IsTakenByADirect3DReader) {
  ObsSession session;
  const std::vector<StageShader> shaders = ShadersOf(GetParam());
  ASSERT_FALSE(shaders.empty());
  for (const StageShader &shader : shaders) EXPECT_EQ(Objection(shader), "");
}

INSTANTIATE_TEST_SUITE_P(Files, EffectDialect,
                         testing::Values(VANTA_TEST_DATA "/vanta_beauty.effect",
                                         VANTA_TEST_DATA "/lx_green_screen_filter.effect"),
                         [](const auto &info) { return std::filesystem::path(info.param).stem().string(); });

TEST(EffectDialectReader, RefusesATypeThatOpenGLAloneKnows) {
  ObsSession session;
  EXPECT_EQ(Objection({"frag", "float4 main() : TARGET\n{\n\treturn float4(1.0, 1.0, 1.0, 1.0);\n}\n"}), "");
  EXPECT_NE(Objection({"frag", "float4 main() : TARGET\n{\n\treturn vec4(1.0, 1.0, 1.0, 1.0);\n}\n"}), "");
}

}  // namespace
}  // namespace vanta_integration
