// A host application that knows libobs and nothing of the plug-ins that it loads. It takes its steps one after the
// other from its arguments and tells on the standard output what it sees. The same source runs on every system, so that
// what it tells there can be compared.
//
//   plain_host DATA CONFIG STEP...    DATA: libobs's data folder, CONFIG: a folder for plug-ins' configurations
//
//   modules                       loads all plug-ins of libobs's own folders
//   module FILE DATA              loads one
//   names                         ids and names of all filters for video
//   pages ID...                   the property pages of these kinds of filter, a line for each control
//   listen SIGNAL TEXT KEY        from now on the global signal SIGNAL counts, where KEY is not 0 in its settings TEXT
//   picture IMAGE ID SETTINGS OUT the picture of an image with that filter when it has been drawn often, and when what
//   is
//                                 listened to has come: width and height in a line, then RGBA; ID "-": without a filter
//   media CLIP LAST ID SETTINGS LINE OUT
//                                 the same of a clip in the media source, at its end, where its number is LAST; it
//                                 plays again until that picture stays the same, and what it shows counts when the log
//                                 has had LINE; "-": whatever the log has
//   cycles N ID...                makes each kind of filter on a source and removes it, N times
//   sizes N ID...                 a source of frames that changes its size and format N times, with these filters
//   screenshots N IMAGE ID...     draws the picture N times from a second thread while the graphics thread draws it too
//   leave IMAGE ID...             filters at work, and goes on to the program's end with them
#include <obs.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "plain_host_system.h"

namespace {

using Words = std::vector<std::string>;

std::string TextOf(const char *format, va_list arguments) {
  char text[4096];
  std::vsnprintf(text, sizeof(text), format, arguments);
  return text;
}

std::string Text(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = TextOf(format, arguments);
  va_end(arguments);
  return text;
}

// Every line is printed whole: another thread may log at any time.
std::mutex output_mutex;
std::string logged;  // all of it

void Tell(const std::string &line) {
  const std::lock_guard lock(output_mutex);
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

[[noreturn]] void Fail(const std::string &what) {
  Tell("failed: " + what);
  std::_Exit(2);
}

void Log(int level, const char *format, va_list arguments, void *) {
  const std::string text = TextOf(format, arguments);
  const std::lock_guard lock(output_mutex);
  logged += text + "\n";
  std::printf("log %d %s\n", level, text.c_str());
  std::fflush(stdout);
}

// ---- Time ----

std::atomic<uint32_t> ticks{0};

void CountTick(void *, float) {
  ++ticks;
}

// The graphics thread has begun `count` turns more.
void AwaitTicks(uint32_t count) {
  for (const uint32_t end = ticks + count; static_cast<int32_t>(end - ticks) > 0;)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Ends the program where something does not come in any time that a machine could need for it.
template <typename Condition>
void AwaitTicksUntil(const std::string &what, Condition condition) {
  constexpr int kMostTurns = 6000;
  for (int turn = 0; !condition(); ++turn) {
    if (turn == kMostTurns) Fail("waited in vain for " + what);
    AwaitTicks(1);
  }
}

bool HasLogged(const std::string &line) {
  const std::lock_guard lock(output_mutex);
  return logged.find(line) != std::string::npos;
}

// ---- Signals ----

// What is listened to, and its last message.
struct Listener {
  std::string text;
  std::string key;
  std::mutex mutex;
  int count = 0;
  std::string last;
} listener;

void Hear(void *, calldata_t *data) {
  auto *settings = static_cast<obs_data_t *>(calldata_ptr(data, listener.text.c_str()));
  if (!settings || obs_data_get_int(settings, listener.key.c_str()) == 0) return;
  const std::lock_guard lock(listener.mutex);
  ++listener.count;
  listener.last = obs_data_get_json(settings);
}

void Listen(const Words &words) {
  listener.text = words[1];
  listener.key = words[2];
  signal_handler_connect(obs_get_signal_handler(), words[0].c_str(), Hear, nullptr);
}

bool HasHeard(int count) {
  const std::lock_guard lock(listener.mutex);
  return listener.text.empty() || listener.count >= count;
}

void ForgetHeard() {
  const std::lock_guard lock(listener.mutex);
  listener.count = 0;
}

void TellHeard() {
  const std::lock_guard lock(listener.mutex);
  if (listener.count > 0) Tell("heard " + listener.last);
}

// ---- Sources ----

obs_source_t *ImageSource(const std::string &file) {
  obs_data_t *settings = obs_data_create();
  obs_data_set_string(settings, "file", file.c_str());
  obs_source_t *source = obs_source_create("image_source", "image", settings, nullptr);
  obs_data_release(settings);
  if (!source || obs_source_get_width(source) == 0) Fail("no image " + file);
  return source;
}

struct Frames {
  obs_source_t *source;
};

obs_source_t *FrameSource() {
  static bool registered = false;
  if (!registered) {
    obs_source_info info;
    std::memset(&info, 0, sizeof(info));
    info.id = "plain_frames";
    info.type = OBS_SOURCE_TYPE_INPUT;
    info.output_flags = OBS_SOURCE_ASYNC_VIDEO | OBS_SOURCE_DO_NOT_DUPLICATE;
    info.get_name = [](void *) { return "frames"; };
    info.create = [](obs_data_t *, obs_source_t *source) -> void * { return new Frames{source}; };
    info.destroy = [](void *data) { delete static_cast<Frames *>(data); };
    obs_register_source_s(&info, offsetof(obs_source_info, video_get_color_space));
    registered = true;
  }
  obs_source_t *source = obs_source_create("plain_frames", "frames", nullptr, nullptr);
  if (!source) Fail("no source of frames");
  return source;
}

void GiveFrame(obs_source_t *source, video_format format, uint32_t width, uint32_t height, uint8_t shade) {
  obs_source_frame frame;
  std::memset(&frame, 0, sizeof(frame));
  obs_source_frame_init(&frame, format, width, height);
  // All planes are one piece of memory.
  std::memset(frame.data[0], shade, static_cast<size_t>(frame.linesize[0]) * height);
  frame.timestamp = os_gettime_ns();
  video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, format, frame.color_matrix,
                                         frame.color_range_min, frame.color_range_max);
  obs_source_output_video(source, &frame);
  bfree(frame.data[0]);
}

obs_source_t *AddFilter(obs_source_t *source, const std::string &id, const std::string &settings_text = {}) {
  obs_data_t *settings = settings_text.empty() ? nullptr : obs_data_create_from_json(settings_text.c_str());
  obs_source_t *filter = obs_source_create(id.c_str(), id.c_str(), settings, nullptr);
  obs_data_release(settings);
  if (!filter) Fail("no filter " + id);
  obs_source_filter_add(source, filter);
  return filter;
}

// Inside graphics: libobs itself cannot bear it while it draws.
void RemoveFilter(obs_source_t *source, obs_source_t *filter) {
  obs_enter_graphics();
  obs_source_filter_remove(source, filter);
  obs_leave_graphics();
  obs_source_release(filter);
}

// ---- Pictures ----

struct Picture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rgba;
};

Picture Draw(obs_source_t *source) {
  Picture picture;
  picture.width = obs_source_get_width(source);
  picture.height = obs_source_get_height(source);
  if (picture.width == 0 || picture.height == 0) return picture;
  obs_enter_graphics();
  gs_texrender_t *target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  gs_stagesurf_t *stage = gs_stagesurface_create(picture.width, picture.height, GS_RGBA);
  if (gs_texrender_begin(target, picture.width, picture.height)) {
    vec4 clear;
    std::memset(&clear, 0, sizeof(clear));
    gs_clear(GS_CLEAR_COLOR, &clear, 0, 0);
    gs_ortho(0, static_cast<float>(picture.width), 0, static_cast<float>(picture.height), -100, 100);
    gs_blend_state_push();
    gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
    obs_source_video_render(source);
    gs_blend_state_pop();
    gs_texrender_end(target);
    gs_stage_texture(stage, gs_texrender_get_texture(target));
    uint8_t *data = nullptr;
    uint32_t pitch = 0;
    if (gs_stagesurface_map(stage, &data, &pitch)) {
      for (uint32_t y = 0; y < picture.height; ++y)
        picture.rgba.insert(picture.rgba.end(), data + size_t{y} * pitch, data + size_t{y} * pitch + picture.width * 4);
      gs_stagesurface_unmap(stage);
    }
  }
  gs_stagesurface_destroy(stage);
  gs_texrender_destroy(target);
  obs_leave_graphics();
  return picture;
}

constexpr int kOften = 14;

// A filter may learn from what it sees, and draw the better the more often it has seen it.
Picture DrawSeen(obs_source_t *source) {
  Picture last;
  int times = 0;
  ForgetHeard();
  AwaitTicksUntil("signals", [&] {
    last = Draw(source);
    return ++times >= kOften && HasHeard(kOften);
  });
  if (last.rgba.empty()) Fail("nothing was drawn");
  return last;
}

void Save(const Picture &picture, const std::string &path) {
  FILE *file = std::fopen(path.c_str(), "wb");
  if (!file) Fail("cannot write " + path);
  std::fprintf(file, "%u %u\n", picture.width, picture.height);
  std::fwrite(picture.rgba.data(), 1, picture.rgba.size(), file);
  std::fclose(file);
}

// The number that a clip's picture carries: squares in its upper left corner, the lowest bit first, white for 1. -1
// where there is no picture.
int NumberIn(const Picture &picture) {
  constexpr uint32_t kBits = 8;
  constexpr uint32_t kSide = 16;  // pixels
  if (picture.width < kBits * kSide || picture.height < kSide || picture.rgba.empty()) return -1;
  int number = 0;
  for (uint32_t bit = 0; bit < kBits; ++bit) {
    const size_t middle = size_t{kSide / 2} * picture.width + bit * kSide + kSide / 2;
    if (picture.rgba[4 * middle + 1] > 127) number |= 1 << bit;
  }
  return number;
}

// ---- Steps ----

void LoadModules(const Words &) {
  obs_load_all_modules();
  obs_post_load_modules();
}

void LoadModule(const Words &words) {
  obs_module_t *module = nullptr;
  const int result = obs_open_module(&module, words[0].c_str(), words[1].c_str());
  if (result != MODULE_SUCCESS || !obs_init_module(module)) Fail("module " + words[0]);
}

void TellNames(const Words &) {
  const char *id = nullptr;
  for (size_t i = 0; obs_enum_filter_types(i, &id); ++i) {
    if ((obs_get_source_output_flags(id) & OBS_SOURCE_VIDEO) == 0) continue;
    const char *name = obs_source_get_display_name(id);
    Tell(Text("name %s = %s", id, name ? name : ""));
  }
}

std::string OneLine(const char *text) {
  std::string line = text ? text : "";
  for (char &c : line)
    if (c == '\n' || c == '\r') c = ' ';
  return line;
}

void TellControls(obs_properties_t *page, const std::string &indent);

void TellControl(obs_property_t *control, const std::string &indent) {
  const obs_property_type type = obs_property_get_type(control);
  std::string line = Text("%s%s type=%d visible=%d enabled=%d \"%s\"", indent.c_str(), obs_property_name(control),
                          static_cast<int>(type), obs_property_visible(control), obs_property_enabled(control),
                          OneLine(obs_property_description(control)).c_str());
  if (type == OBS_PROPERTY_INT)
    line += Text(" %d..%d by %d%s", obs_property_int_min(control), obs_property_int_max(control),
                 obs_property_int_step(control), OneLine(obs_property_int_suffix(control)).c_str());
  if (type == OBS_PROPERTY_FLOAT)
    line += Text(" %g..%g by %g", obs_property_float_min(control), obs_property_float_max(control),
                 obs_property_float_step(control));
  if (type == OBS_PROPERTY_LIST) {
    for (size_t i = 0; i < obs_property_list_item_count(control); ++i)
      line += Text(" [%s]", OneLine(obs_property_list_item_name(control, i)).c_str());
  }
  Tell(line);
  if (type == OBS_PROPERTY_GROUP) TellControls(obs_property_group_content(control), indent + "  ");
}

void TellControls(obs_properties_t *page, const std::string &indent) {
  obs_property_t *control = obs_properties_first(page);
  while (control) {
    TellControl(control, indent);
    if (!obs_property_next(&control)) break;
  }
}

void TellPages(const Words &words) {
  obs_source_t *source = FrameSource();
  for (const std::string &id : words) {
    obs_source_t *filter = AddFilter(source, id);
    Tell("page " + id);
    obs_properties_t *page = obs_source_properties(filter);
    if (page) TellControls(page, "  ");
    obs_properties_destroy(page);
    RemoveFilter(source, filter);
  }
  obs_source_release(source);
}

void SavePicture(const Words &words) {
  obs_source_t *source = ImageSource(words[0]);
  obs_source_t *filter = words[1] == "-" ? nullptr : AddFilter(source, words[1], words[2]);
  Save(DrawSeen(source), words[3]);
  TellHeard();
  if (filter) RemoveFilter(source, filter);
  obs_source_release(source);
}

// What looks for faces may find one late: the picture is then another one by more than what a face moves it by.
bool AreAlike(const Picture &one, const Picture &other) {
  constexpr uint64_t kParts = 2;  // of a level: in the mean over the channels, one of them
  if (one.rgba.empty() || one.rgba.size() != other.rgba.size()) return false;
  uint64_t sum = 0;
  for (size_t i = 0; i < one.rgba.size(); ++i)
    sum += static_cast<uint64_t>(std::abs(int{one.rgba[i]} - int{other.rgba[i]}));
  return sum * kParts <= one.rgba.size();
}

// To the clip's end, which is several pictures of one number: what follows the pictures comes to rest there.
void AwaitEnd(obs_source_t *source, int last_number) {
  int number = -1;
  int numbers = 0;
  AwaitTicksUntil("the clip's end", [&] {
    const int seen = NumberIn(Draw(source));
    if (number != last_number && seen < number)
      Fail("number " + std::to_string(seen) + " after " + std::to_string(number));
    if (seen > number) ++numbers;
    number = seen;
    return number == last_number && obs_source_media_get_state(source) == OBS_MEDIA_STATE_ENDED;
  });
  Tell(Text("numbers %d", numbers));
}

Picture PlayAgain(obs_source_t *source, int last_number) {
  obs_source_media_restart(source);
  AwaitTicksUntil("the clip's beginning",
                  [&] { return obs_source_media_get_state(source) == OBS_MEDIA_STATE_PLAYING; });
  AwaitEnd(source, last_number);
  return DrawSeen(source);
}

constexpr int kMostPlays = 12;

void PlayMedia(const Words &words) {
  obs_data_t *settings = obs_data_create();
  obs_data_set_string(settings, "local_file", words[0].c_str());
  obs_data_set_bool(settings, "is_local_file", true);
  obs_data_set_bool(settings, "clear_on_media_end", false);
  obs_source_t *source = obs_source_create("ffmpeg_source", "clip", settings, nullptr);
  obs_data_release(settings);
  if (!source) Fail("no media source");
  obs_source_t *filter = words[2] == "-" ? nullptr : AddFilter(source, words[2], words[3]);
  obs_set_output_source(0, source);
  const int last_number = std::atoi(words[1].c_str());
  AwaitEnd(source, last_number);
  Picture former;
  if (words[4] == "-")
    former = Draw(source);
  else
    AwaitTicksUntil(words[4], [&] { return HasLogged(words[4]); });
  Picture last = PlayAgain(source, last_number);
  for (int plays = 2; !AreAlike(former, last); ++plays) {
    if (plays == kMostPlays) Fail("the clip's last picture is another one each time");
    former = std::move(last);
    last = PlayAgain(source, last_number);
  }
  Save(last, words[5]);
  TellHeard();
  obs_set_output_source(0, nullptr);
  if (filter) RemoveFilter(source, filter);
  obs_source_release(source);
}

void MakeCycles(const Words &words) {
  obs_source_t *source = FrameSource();
  obs_source_inc_showing(source);
  for (int i = std::atoi(words[0].c_str()); i > 0; --i) {
    for (size_t k = 1; k < words.size(); ++k) {
      obs_source_t *filter = AddFilter(source, words[k]);
      GiveFrame(source, VIDEO_FORMAT_NV12, 64, 48, static_cast<uint8_t>(i));
      if (i % 16 == 0) AwaitTicks(1);
      RemoveFilter(source, filter);
    }
  }
  obs_source_dec_showing(source);
  obs_source_release(source);
  Tell("cycles done");
}

void ChangeSizes(const Words &words) {
  // What the frames of cameras and media come in.
  constexpr video_format kFormats[] = {
      VIDEO_FORMAT_I420, VIDEO_FORMAT_NV12, VIDEO_FORMAT_YVYU, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_RGBA,
      VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_Y800, VIDEO_FORMAT_I444, VIDEO_FORMAT_BGR3, VIDEO_FORMAT_I422,
      VIDEO_FORMAT_I40A, VIDEO_FORMAT_I42A, VIDEO_FORMAT_YUVA, VIDEO_FORMAT_AYUV, VIDEO_FORMAT_I010, VIDEO_FORMAT_P010};
  obs_source_t *source = FrameSource();
  obs_source_inc_showing(source);
  std::vector<obs_source_t *> filters;
  for (size_t k = 1; k < words.size(); ++k) filters.push_back(AddFilter(source, words[k]));
  int drawn = 0;
  for (int i = 0; i < std::atoi(words[0].c_str()); ++i) {
    const uint32_t width = 16 + 2 * static_cast<uint32_t>(i * 37 % 200),
                   height = 16 + 2 * static_cast<uint32_t>(i * 53 % 100);
    int frames = 0;
    // A filter that has nothing to show yet gives no picture.
    AwaitTicksUntil("a picture", [&] {
      GiveFrame(source, kFormats[static_cast<size_t>(i) % std::size(kFormats)], width, height,
                static_cast<uint8_t>(i * 11));
      AwaitTicks(1);
      return ++frames >= 3 && !Draw(source).rgba.empty();
    });
    ++drawn;
  }
  for (obs_source_t *filter : filters) RemoveFilter(source, filter);
  obs_source_dec_showing(source);
  obs_source_release(source);
  Tell(Text("sizes drawn %d", drawn));
}

void TakeScreenshots(const Words &words) {
  obs_source_t *source = ImageSource(words[1]);
  std::vector<obs_source_t *> filters;
  for (size_t k = 2; k < words.size(); ++k) filters.push_back(AddFilter(source, words[k]));
  obs_set_output_source(0, source);
  int drawn = 0;
  std::thread second([&] {
    for (int i = std::atoi(words[0].c_str()); i > 0; --i)
      if (!Draw(source).rgba.empty()) ++drawn;
  });
  second.join();
  obs_set_output_source(0, nullptr);
  for (obs_source_t *filter : filters) RemoveFilter(source, filter);
  obs_source_release(source);
  Tell(Text("screenshots %d", drawn));
}

// The sources go while their filters work; libobs's end follows at once.
void LeaveAtWork(const Words &words) {
  obs_source_t *image = ImageSource(words[0]);
  obs_source_t *frames = FrameSource();
  obs_source_inc_showing(frames);
  for (size_t k = 1; k < words.size(); ++k) {
    obs_source_release(AddFilter(image, words[k]));
    obs_source_release(AddFilter(frames, words[k]));
  }
  obs_set_output_source(0, image);
  for (int i = 0; i < 20; ++i) {
    GiveFrame(frames, VIDEO_FORMAT_NV12, 640, 360, static_cast<uint8_t>(i));
    AwaitTicks(1);
  }
  GiveFrame(frames, VIDEO_FORMAT_NV12, 640, 360, 99);
  obs_set_output_source(0, nullptr);
  obs_source_dec_showing(frames);
  obs_source_release(frames);
  obs_source_release(image);
}

struct Step {
  size_t least;  // words that belong to it
  std::function<void(const Words &)> take;
};

const std::map<std::string, Step> &Steps() {
  static const std::map<std::string, Step> steps = {
      {"modules", {0, LoadModules}}, {"module", {2, LoadModule}},
      {"names", {0, TellNames}},     {"pages", {1, TellPages}},
      {"picture", {4, SavePicture}}, {"cycles", {2, MakeCycles}},
      {"listen", {3, Listen}},       {"media", {6, PlayMedia}},
      {"sizes", {2, ChangeSizes}},   {"screenshots", {3, TakeScreenshots}},
      {"leave", {2, LeaveAtWork}}};
  return steps;
}

void StartVideo() {
  obs_video_info video;
  std::memset(&video, 0, sizeof(video));
  video.graphics_module = "libobs-opengl";
  video.fps_num = 60;
  video.fps_den = 1;
  video.base_width = video.output_width = 320;
  video.base_height = video.output_height = 180;
  video.output_format = VIDEO_FORMAT_NV12;
  video.colorspace = VIDEO_CS_709;
  video.range = VIDEO_RANGE_PARTIAL;
  video.scale_type = OBS_SCALE_BILINEAR;
  const int result = obs_reset_video(&video);
  if (result != OBS_VIDEO_SUCCESS) Fail("no video: " + std::to_string(result));
}

void TakeSteps(const Words &words) {
  for (size_t at = 0; at < words.size();) {
    const auto step = Steps().find(words[at]);
    if (step == Steps().end()) Fail("no such step: " + words[at]);
    Words own;
    while (++at < words.size() && Steps().count(words[at]) == 0) own.push_back(words[at]);
    if (own.size() < step->second.least) Fail("too few words for " + step->first);
    step->second.take(own);
    std::fflush(stdout);
  }
}

}  // namespace

int main(int count, char **arguments) {
  Words words = plain_host::ArgumentsInUtf8(count, arguments);
  if (words.size() < 2) Fail("DATA CONFIG STEP...");
  base_set_log_handler(Log, nullptr);
  plain_host::PrepareDisplay();
  if (!obs_startup("en-US", words[1].c_str(), nullptr)) Fail("libobs does not start");
  obs_add_data_path(words[0].c_str());
  StartVideo();
  obs_add_tick_callback(CountTick, nullptr);
  TakeSteps({words.begin() + 2, words.end()});
  obs_remove_tick_callback(CountTick, nullptr);
  obs_shutdown();
  Tell(Text("leaks %ld", bnum_allocs()));
  Tell("done");
  return 0;
}
