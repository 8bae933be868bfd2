// A fake graphics system and source tree: the gs_*, obs_source_* and obs_filter_* functions that the filters call,
// defined in the test program, so that they win over libobs's own. Each call is noted in order, with its arguments as
// text, and any one of them can be told to fail. obs_data, signal handlers, frames, bmalloc and the video scaler stay
// libobs's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <graphics/graphics.h>
#include <obs.h>

// Fake objects. `name` is what the notes call them.
struct gs_texture {
  std::string name;
  uint32_t width = 0;
  uint32_t height = 0;
  gs_color_format format = GS_RGBA;
  std::vector<uint8_t> pixels;  // of the last gs_texture_set_image, rows packed
  uint32_t shared_handle = 0;   // 0: not shared
  bool mapped = false;
};

// A source or filter that a test puts together by hand.
struct obs_source {
  std::string name = "source";
  std::string id = "fake_source";
  obs_source *parent = nullptr;
  obs_source *target = nullptr;
  uint32_t width = 0;
  uint32_t height = 0;
  obs_deinterlace_mode deinterlace = OBS_DEINTERLACE_MODE_DISABLE;
  long refs = 1;
  gs_texture frame;  // what obs_source_process_filter_begin has drawn into
};

namespace vanta_test::gs_recorder {

void Reset();  // no notes, no failures, no objects; counters of names start again
std::vector<std::string> Calls();
std::vector<std::string> CallsWithout(const std::vector<std::string> &prefixes);
void Clear();  // the notes only
size_t Count(const std::string &prefix);
void SetRecording(bool on);  // notes allocate: off for tests that count allocations

// The k-th call from now on (from 1) gives null, false or an error; a call without result has nothing to fail. 0: none.
void FailCall(size_t k);
size_t CallsSinceFailCall();
// Every call whose text begins so fails until AllowAll.
void FailAll(const std::string &prefix);
void AllowAll();

size_t ObjectsAlive();              // textures, render targets and effects not destroyed; libobs's own do not count
std::vector<std::string> Misuse();  // calls outside graphics, of dead objects, ends without a beginning
int OpenBrackets();                 // pushes without pop, render targets without end; negative for the reverse

void SetEffectPasses(int passes);       // how often gs_effect_loop gives true for each draw; 1 at first
void SetEffectHasParameters(bool has);  // false: gs_effect_get_param_by_name gives null
void SetEffectLacks(const std::vector<std::string> &names);  // parameters and techniques that no loaded effect has
void SetCompileError(const std::string &text);               // of a failed gs_effect_create_from_file; empty: none
void SetAcquireResult(int result);                           // of gs_texture_acquire_sync
void SetDeviceType(int type);                                // of gs_get_device_type; Direct3D at first
void SetOnMap(std::function<void()> action);  // inside gs_texture_set_image, once the texture is mapped; null: none
std::vector<uint8_t> DrawnPixels();           // of the texture as the last gs_draw_sprite showed it
void SetPaint(uint8_t value);                 // with which the next obs_source_video_render fills the picture
void SetStagePadding(uint32_t bytes);         // behind each row of stage surfaces made from now on
void SetModuleFile(const std::string &path);  // what obs_find_module_file finds for each name; empty: null

// Stands in for the host's graphics thread, which is inside graphics already; writes no notes. Threads: its own.
class InGraphics {
 public:
  InGraphics();
  ~InGraphics();
  InGraphics(const InGraphics &) = delete;
  InGraphics &operator=(const InGraphics &) = delete;
};
int GraphicsDepth();                               // of the calling thread
std::vector<std::thread::id> ThreadsInGraphics();  // that called obs_enter_graphics, each once

// Parts of the recorder itself, for its other source files. True: this call must fail.
bool Note(const std::string &text);
bool NoteInGraphics(const std::string &text);
void Track(const void *object, const std::string &name);
bool Untrack(const void *object, const std::string &call);  // false: it was not alive
std::string NameOf(const void *object);
std::string NewName(const std::string &kind);
uint32_t NewHandle();
void CheckAlive(const void *object, const std::string &call);
void Bracket(int by, const std::string &kind);
void AddMisuse(const std::string &text);
void ChangeGraphicsDepth(int by);
int EffectPasses();
bool EffectHasParameters();
bool EffectLacks(const std::string &effect, const std::string &name);  // never libobs's own effects
std::string CompileError();
int AcquireResult();
int DeviceType();
std::function<void()> OnMap();
void KeepDrawn(const std::vector<uint8_t> &pixels);
void Paint();  // the picture is drawn
uint8_t Painted();
uint32_t StagePadding();
std::string ModuleFile();
gs_effect_t *MakeEffect();  // without note or count

}  // namespace vanta_test::gs_recorder
