// What belongs to one obs_startup(): the declarations of the module's signals, the subscriptions to two of them, and
// the character type locale.
#include <clocale>
#include <cstring>

#include <obs.h>
#include <util/platform.h>

#include "controls/beauty_controls.h"
#include "controls/face_watch.h"
#include "controls/frontend.h"
#include "module/module_control.h"
#include "pages/page_refresh.h"
#include "platform/renderer.h"
#include "registration/adapter.h"
#include "registration/engine_watch.h"
#include "registration/supervision.h"
#include "remote/hotkeys.h"
#include "remote/websocket_vendor.h"
#include "reports/report_history.h"
#include "vanta_base/mutex.h"
#include "vanta_host.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr const char *kFilterSignal = "vanta_filter_callback";
constexpr const char *kFaceSignal = "TesseraFacePointRet";
constexpr const char *kSignals[] = {
    "void vanta_filter_callback(int type, string type_func, string data_str)",
    "void zt_magic_callback(bool disable_beautify, bool disable_deform, bool disable_makeup, bool disable_filter, "
    "bool disable_body)",
    "void body_slimming_status(int status)",
    "void TesseraFacePointRet(ptr face_point)",
    nullptr,
};

// libobs makes its handlers anew at each start, at an address that may be the former one. A procedure of ours tells
// whether a handler is one that we have met.
constexpr const char *kMarkName = "vanta_host_attached";
constexpr const char *kMarkDeclaration = "void vanta_host_attached()";

struct Session {
  Mutex mutex;
  bool connected VANTA_GUARDED_BY(mutex) = false;
};

Session &TheSession() {
  static Session *session = new Session;
  return *session;
}

bool IsMarked() {
  calldata_t none;
  calldata_init(&none);
  const bool marked = proc_handler_call(obs_get_proc_handler(), kMarkName, &none);
  calldata_free(&none);
  return marked;
}

void Mark() {
  proc_handler_add(
      obs_get_proc_handler(), kMarkDeclaration, [](void *, calldata_t *) {}, nullptr);
}

bool IsPlainLocale() {
  const char *name = std::setlocale(LC_CTYPE, nullptr);
  return !name || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0;
}

// In the plain locale libobs turns paths into the multibyte code page with a count of 0. A locale that the program has
// chosen stays.
void LeavePlainLocale() {
  if (!IsPlainLocale()) return;
  std::setlocale(LC_CTYPE, "");
  if (IsPlainLocale()) std::setlocale(LC_CTYPE, "C.UTF-8");
}

void OnTick(void *, float) {
  if (vanta_host::HasFrontend()) vanta_host::Pages().Tick(os_gettime_ns());
  vanta_host::TickWebsocket(os_gettime_ns());
}

// The websocket's handler dies after the program's end has begun, and before the graphics thread.
void OnFrontendEvent(obs_frontend_event event, void *) {
  if (event == OBS_FRONTEND_EVENT_EXIT) vanta_host::StopWebsocket();
  // An open window may keep filters of the former collection alive until after those of the next one are made.
  if (event == OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP) vanta_host::Controls().ForgetAll();
}

using EventCallbacks = void(obs_frontend_event_cb, void *);

void Connect() {
  signal_handler_connect(obs_get_signal_handler(), kFilterSignal, vanta_host::OnFilterSignal, nullptr);
  signal_handler_connect(obs_get_signal_handler(), kFaceSignal, vanta_host::OnFacePoints, nullptr);
  obs_add_tick_callback(OnTick, nullptr);
  if (auto *add = vanta_host::FrontendFunction<EventCallbacks>("obs_frontend_add_event_callback"))
    add(OnFrontendEvent, nullptr);
}

void Disconnect() {
  vanta_host::UnregisterLookHotkeys();
  if (auto *remove = vanta_host::FrontendFunction<EventCallbacks>("obs_frontend_remove_event_callback"))
    remove(OnFrontendEvent, nullptr);
  obs_remove_tick_callback(OnTick, nullptr);
  signal_handler_disconnect(obs_get_signal_handler(), kFaceSignal, vanta_host::OnFacePoints, nullptr);
  signal_handler_disconnect(obs_get_signal_handler(), kFilterSignal, vanta_host::OnFilterSignal, nullptr);
}

void ForgetSession() {
  vanta_host::ForgetApplication();
  vanta_host::ForgetEngine();
  vanta_host::ForgetFaces();
  vanta_host::ForgetLookHotkeys();
  vanta_host::ForgetWebsocket();
  vanta_host::ForgetAdapter();
  vanta_host::ForgetRenderer();
}

}  // namespace

bool vanta_host_attach(void) {
  if (!obs_initialized()) return false;
  Session &session = TheSession();
  MutexLock lock(session.mutex);
  if (!IsMarked()) {
    session.connected = false;
    ForgetSession();
    signal_handler_add_array(obs_get_signal_handler(), const_cast<const char **>(kSignals));
    Mark();
  }
  if (!session.connected) {
    Connect();
    session.connected = true;
    LeavePlainLocale();
  }
  return true;
}

void vanta_host_detach(void) {
  bool was_connected;
  {
    Session &session = TheSession();
    MutexLock lock(session.mutex);
    was_connected = session.connected;
    session.connected = false;
  }
  // Waits for a signal in progress, so it stands outside the lock.
  if (was_connected && obs_initialized()) Disconnect();
  ForgetSession();
  vanta_host::StopWatchdog();
  // A subscriber may call libobs, which is about to end.
  vanta_host::Reports().Flush();
}
