#include "fakes/failures/failing_calls.h"

#include <EGL/egl.h>
#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include <obs.h>

namespace vanta_test::failing_calls {
namespace {

constexpr int kOff = -1;
constexpr int kDeepest = 64;  // calls on a stack that are looked at
constexpr std::array kLibraries = {"vanta_filter.so", "libvanta_host.so", "libLumivex.so", "libtessera.so"};

std::atomic<int> armed{kOff};  // a Kind
std::atomic<int> fails{0};
std::atomic<int> calls{0};
thread_local bool counting = false;  // looking at the stack may itself open files

using Range = std::pair<uintptr_t, uintptr_t>;

// Where the project's libraries lie; learnt when armed, and they stay until the end.
std::vector<Range> &Ranges() {
  static auto *ranges = new std::vector<Range>;
  return *ranges;
}

int LearnRange(dl_phdr_info *library, size_t, void *) {
  const char *name = std::strrchr(library->dlpi_name, '/');
  name = name ? name + 1 : library->dlpi_name;
  for (const char *wanted : kLibraries) {
    if (std::strcmp(name, wanted) != 0) continue;
    for (int i = 0; i < library->dlpi_phnum; ++i) {
      const auto &part = library->dlpi_phdr[i];
      if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0)
        Ranges().emplace_back(library->dlpi_addr + part.p_vaddr, library->dlpi_addr + part.p_vaddr + part.p_memsz);
    }
  }
  return 0;
}

void TellStack() {
  std::array<void *, kDeepest> stack{};
  if (std::getenv("VANTA_FAILURES_LOG")) backtrace_symbols_fd(stack.data(), backtrace(stack.data(), kDeepest), 2);
}

bool IsForProject() {
  std::array<void *, kDeepest> stack{};
  const int depth = backtrace(stack.data(), kDeepest);
  for (int i = 0; i < depth; ++i) {
    const auto at = reinterpret_cast<uintptr_t>(stack[static_cast<size_t>(i)]);
    for (const auto &[begin, end] : Ranges()) {
      if (at >= begin && at < end) return true;
    }
  }
  return false;
}

}  // namespace

std::optional<Kind> FindKind(std::string_view name) {
  constexpr std::array<std::string_view, 7> kNames = {"texture", "effect", "buffer", "thread",
                                                      "file",    "socket", "context"};
  for (size_t i = 0; i < kNames.size(); ++i) {
    if (kNames[i] == name) return static_cast<Kind>(i);
  }
  return std::nullopt;
}

void Arm(Kind kind, int k) {
  Ranges().clear();
  dl_iterate_phdr(LearnRange, nullptr);
  void *first[1];
  backtrace(first, 1);  // loads what it needs
  calls = 0;
  fails = k;
  armed = static_cast<int>(kind);
}

int Disarm() {
  armed = kOff;
  return calls;
}

// Whether this call is to fail.
bool Fails(Kind kind) {
  if (armed != static_cast<int>(kind) || counting) return false;
  counting = true;
  const bool ours = IsForProject();
  const bool fails_now = ours && ++calls == fails;
  if (fails_now) TellStack();
  counting = false;
  return fails_now;
}

template <typename Function>
Function *Next(Function *, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace vanta_test::failing_calls

using vanta_test::failing_calls::Fails;
using vanta_test::failing_calls::Kind;
using vanta_test::failing_calls::Next;

#define VANTA_STANDS_BEFORE __attribute__((visibility("default")))

extern "C" {

// ---- Graphics ----

VANTA_STANDS_BEFORE gs_texture_t *gs_texture_create(uint32_t width, uint32_t height, gs_color_format format,
                                                    uint32_t levels, const uint8_t **data, uint32_t flags) {
  static const auto next = Next(&gs_texture_create, "gs_texture_create");
  return Fails(Kind::kTexture) ? nullptr : next(width, height, format, levels, data, flags);
}

VANTA_STANDS_BEFORE gs_texrender_t *gs_texrender_create(gs_color_format format, gs_zstencil_format zstencil) {
  static const auto next = Next(&gs_texrender_create, "gs_texrender_create");
  return Fails(Kind::kTexture) ? nullptr : next(format, zstencil);
}

VANTA_STANDS_BEFORE gs_effect_t *gs_effect_create(const char *text, const char *file, char **errors) {
  static const auto next = Next(&gs_effect_create, "gs_effect_create");
  return Fails(Kind::kEffect) ? nullptr : next(text, file, errors);
}

VANTA_STANDS_BEFORE gs_effect_t *gs_effect_create_from_file(const char *file, char **errors) {
  static const auto next = Next(&gs_effect_create_from_file, "gs_effect_create_from_file");
  return Fails(Kind::kEffect) ? nullptr : next(file, errors);
}

VANTA_STANDS_BEFORE gs_shader_t *gs_vertexshader_create(const char *shader, const char *file, char **errors) {
  static const auto next = Next(&gs_vertexshader_create, "gs_vertexshader_create");
  return Fails(Kind::kEffect) ? nullptr : next(shader, file, errors);
}

VANTA_STANDS_BEFORE gs_shader_t *gs_pixelshader_create(const char *shader, const char *file, char **errors) {
  static const auto next = Next(&gs_pixelshader_create, "gs_pixelshader_create");
  return Fails(Kind::kEffect) ? nullptr : next(shader, file, errors);
}

VANTA_STANDS_BEFORE gs_samplerstate_t *gs_samplerstate_create(const gs_sampler_info *info) {
  static const auto next = Next(&gs_samplerstate_create, "gs_samplerstate_create");
  return Fails(Kind::kEffect) ? nullptr : next(info);
}

VANTA_STANDS_BEFORE gs_stagesurf_t *gs_stagesurface_create(uint32_t width, uint32_t height, gs_color_format format) {
  static const auto next = Next(&gs_stagesurface_create, "gs_stagesurface_create");
  return Fails(Kind::kBuffer) ? nullptr : next(width, height, format);
}

VANTA_STANDS_BEFORE gs_vertbuffer_t *gs_vertexbuffer_create(gs_vb_data *data, uint32_t flags) {
  static const auto next = Next(&gs_vertexbuffer_create, "gs_vertexbuffer_create");
  return Fails(Kind::kBuffer) ? nullptr : next(data, flags);
}

VANTA_STANDS_BEFORE gs_indexbuffer_t *gs_indexbuffer_create(gs_index_type type, void *indices, size_t count,
                                                            uint32_t flags) {
  static const auto next = Next(&gs_indexbuffer_create, "gs_indexbuffer_create");
  return Fails(Kind::kBuffer) ? nullptr : next(type, indices, count, flags);
}

VANTA_STANDS_BEFORE EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                                                const EGLint *attributes) {
  static const auto next = Next(&eglCreateContext, "eglCreateContext");
  return Fails(Kind::kContext) ? EGL_NO_CONTEXT : next(display, config, share, attributes);
}

// ---- System ----

VANTA_STANDS_BEFORE int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*main)(void *),
                                       void *param) {
  static const auto next = Next(&pthread_create, "pthread_create");
  return Fails(Kind::kThread) ? EAGAIN : next(thread, attributes, main, param);
}

VANTA_STANDS_BEFORE int socket(int domain, int type, int protocol) {
  static const auto next = Next(&socket, "socket");
  if (!Fails(Kind::kSocket)) return next(domain, type, protocol);
  errno = EMFILE;
  return -1;
}

VANTA_STANDS_BEFORE FILE *fopen(const char *path, const char *mode) {
  static const auto next = Next(&fopen, "fopen");
  if (!Fails(Kind::kFile)) return next(path, mode);
  errno = EMFILE;
  return nullptr;
}

VANTA_STANDS_BEFORE FILE *fopen64(const char *path, const char *mode) {
  static const auto next = Next(&fopen64, "fopen64");
  if (!Fails(Kind::kFile)) return next(path, mode);
  errno = EMFILE;
  return nullptr;
}

VANTA_STANDS_BEFORE DIR *opendir(const char *path) {
  static const auto next = Next(&opendir, "opendir");
  if (!Fails(Kind::kFile)) return next(path);
  errno = EMFILE;
  return nullptr;
}

VANTA_STANDS_BEFORE int open(const char *path, int flags, ...) {
  static const auto next = Next(&open, "open");
  va_list more;
  va_start(more, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
  va_end(more);
  if (!Fails(Kind::kFile)) return next(path, flags, mode);
  errno = EMFILE;
  return -1;
}

VANTA_STANDS_BEFORE int open64(const char *path, int flags, ...) {
  static const auto next = Next(&open64, "open64");
  va_list more;
  va_start(more, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
  va_end(more);
  if (!Fails(Kind::kFile)) return next(path, flags, mode);
  errno = EMFILE;
  return -1;
}

}  // extern "C"
