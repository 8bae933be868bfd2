#include "module_dll.h"

#include <chrono>
#include <cstring>

#include <gtest/gtest.h>
#include <util/bmem.h>

#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/wait.h"
#include "host/fake_host.h"

namespace fs = std::filesystem;

namespace vanta_test {

std::string Utf8(const fs::path &path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

ScratchFolder::ScratchFolder(const wchar_t *name)
    : path(fs::temp_directory_path() / (std::wstring(name) + L" " + std::to_wstring(GetCurrentProcessId()))) {
  fs::create_directories(path);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

ModuleDll::ModuleDll(const fs::path &file, const fs::path &data) {
  fake_host::SetModuleFolder(Utf8(data));
  handle_ = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  EXPECT_NE(handle_, nullptr) << Utf8(file) << ": error " << GetLastError();
}

ModuleDll::~ModuleDll() {
  if (!handle_) return;
  if (auto *free_locale = Find<void()>("obs_module_free_locale")) free_locale();
  FreeLibrary(handle_);
}

void ModuleDll::Load(const char *locale) {
  ASSERT_NE(handle_, nullptr);
  static int module_object;
  Find<void(obs_module_t *)>("obs_module_set_pointer")(reinterpret_cast<obs_module_t *>(&module_object));
  ASSERT_EQ(Find<uint32_t()>("obs_module_ver")(), 0x1d000001u);
  Find<void(const char *)>("obs_module_set_locale")(locale);
  ASSERT_TRUE(Find<bool()>("obs_module_load")());
}

ILumivex *ModuleDll::Control() const {
  ILumivex *control = nullptr;
  EXPECT_TRUE(Find<bool(ILumivex **)>("FindFacelessInstance")(&control));
  return control;
}

void FreeFrame::operator()(obs_source_frame *frame) const {
  bfree(frame->data[0]);
  bfree(frame);
}

Frame MakeFrame(uint8_t fill, uint64_t timestamp, uint32_t width, uint32_t height) {
  auto *frame = static_cast<obs_source_frame *>(bzalloc(sizeof(obs_source_frame)));
  obs_source_frame_init(frame, VIDEO_FORMAT_NV12, width, height);
  frame->timestamp = timestamp;
  std::memset(frame->data[0], fill, size_t{frame->linesize[0]} * height);
  std::memset(frame->data[1], 128, size_t{frame->linesize[1]} * ((height + 1) / 2));
  return Frame(frame);
}

struct BeautyFilter::Sources {
  Sources() {
    parent.name = "parent";
    parent.width = kWidth;
    parent.height = kHeight;
    target.name = "target";
    filter.name = "filter";
    filter.id = "face_beauty_filter_v2";
    filter.parent = &parent;
    filter.target = &target;
  }
  obs_source parent;
  obs_source target;
  obs_source filter;
};

BeautyFilter::BeautyFilter(obs_data_t *settings)
    : sources_(std::make_unique<Sources>()), record_(host_double::Registered("face_beauty_filter_v2")) {
  obs_data_t *own = settings ? nullptr : obs_data_create();
  instance_ = record_.create(settings ? settings : own, &sources_->filter);
  obs_data_release(own);
  EXPECT_NE(instance_, nullptr);
  // Until the worker runs, frames pass untouched: the first one that it takes shows that it does. The engine is held
  // meanwhile, or that frame might be back within the same call.
  scripted_engine::Close(Gate::kProcess);
  const Frame first = MakeFrame(0, 0);
  WaitUntil([&] { return Video(first.get()) != first.get(); }, "a running worker");
  scripted_engine::Open(Gate::kProcess);
  WaitForPasses(1);
}

BeautyFilter::~BeautyFilter() {
  if (instance_) record_.destroy(instance_);
}

obs_source_frame *BeautyFilter::VideoThroughEngine(obs_source_frame *frame) {
  const size_t before = Passes();
  obs_source_frame *out = Video(frame);
  WaitForPasses(before + 1);
  return out;
}

size_t BeautyFilter::Passes() {
  return host_double::Count("ThreadSleep");
}

void BeautyFilter::WaitForPasses(size_t passes) {
  const auto nudge_time = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
  bool nudged = false;
  WaitUntil(
      [&] {
        if (Passes() >= passes) return true;
        if (!nudged && std::chrono::steady_clock::now() > nudge_time) {
          nudged = true;  // a wake-up was lost, as may be; an update of the settings wakes the worker
          obs_data_t *settings = obs_data_create();
          record_.update(instance_, settings);
          obs_data_release(settings);
        }
        return false;
      },
      "the worker's passes over frames");
}

void BeautyFilter::Render() {
  const gs_recorder::InGraphics inside;
  record_.video_render(instance_, nullptr);
}

}  // namespace vanta_test
