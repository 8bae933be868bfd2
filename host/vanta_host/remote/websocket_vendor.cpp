#include "remote/websocket_vendor.h"

#include <atomic>
#include <string>

#include <callback/calldata.h>
#include <callback/proc.h>
#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/face_watch.h"
#include "controls/frontend.h"
#include "remote/requests.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

constexpr char kVendor[] = "vanta_filter";
constexpr uint64_t kEventPeriodNs = 500000000;
constexpr uint64_t kStatisticsPeriodNs = 1000000000;

// As the websocket's plug-in takes a request's callback; it keeps a copy.
struct RequestCallback {
  void (*answer)(obs_data_t *request, obs_data_t *response, void *param);
  void *param;
};

class Call {
 public:
  Call() { calldata_init(&data_); }
  ~Call() { calldata_free(&data_); }
  Call(const Call &) = delete;
  Call &operator=(const Call &) = delete;

  calldata_t *data() { return &data_; }
  bool Make(proc_handler_t *handler, const char *name) { return proc_handler_call(handler, name, &data_); }

 private:
  calldata_t data_;
};

std::atomic<bool> stopped{false};

// Threads: [tick].
class Vendor {
 public:
  void Tick(uint64_t now_ns) {
    if (!vendor_ && !Register()) return;
    if (now_ns - looked_ns_ < kEventPeriodNs) return;
    looked_ns_ = now_ns;
    if (const uint64_t changes = Controls().Changes(); changes != changes_) {
      changes_ = changes;
      const OBSDataAutoRelease data = obs_data_create();
      TellLook(data);
      Emit("BeautyChanged", data);
    }
    if (const auto engine = vanta_host_get_engine_state(); engine != engine_) {
      engine_ = engine;
      const OBSDataAutoRelease data = obs_data_create();
      obs_data_set_string(data, "engine", vanta_host_engine_state_name(engine));
      Emit("EngineStateChanged", data);
    }
    if (const int faces = CountFaces(); faces != faces_) {
      faces_ = faces;
      const OBSDataAutoRelease data = obs_data_create();
      obs_data_set_int(data, "faces", faces);
      Emit("FacesChanged", data);
    }
    if (StatisticsAreWatched(now_ns) && now_ns - told_ns_ >= kStatisticsPeriodNs) {
      told_ns_ = now_ns;
      const OBSDataAutoRelease data = obs_data_create();
      TellStatistics(data);
      Emit("Statistics", data);
    }
  }

 private:
  bool Register() {
    Call find;
    if (!find.Make(obs_get_proc_handler(), "obs_websocket_api_get_ph")) return false;
    handler_ = static_cast<proc_handler_t *>(calldata_ptr(find.data(), "ph"));
    if (!handler_) return false;
    Call make;
    calldata_set_string(make.data(), "name", kVendor);
    if (!make.Make(handler_, "vendor_register")) return false;
    vendor_ = calldata_ptr(make.data(), "vendor");
    if (!vendor_) return false;
    for (const NamedRequest *request = Requests(); request->name; ++request) Offer(*request);
    changes_ = Controls().Changes();
    engine_ = vanta_host_get_engine_state();
    return true;
  }

  void Offer(const NamedRequest &request) {
    RequestCallback callback = {[](obs_data_t *data, obs_data_t *response, void *param) {
                                  static_cast<const NamedRequest *>(param)->answer(data, response);
                                },
                                const_cast<NamedRequest *>(&request)};
    Call offer;
    calldata_set_ptr(offer.data(), "vendor", vendor_);
    calldata_set_string(offer.data(), "type", request.name);
    calldata_set_ptr(offer.data(), "callback", &callback);
    offer.Make(handler_, "vendor_request_register");
  }

  void Emit(const char *type, obs_data_t *data) {
    Call emit;
    calldata_set_ptr(emit.data(), "vendor", vendor_);
    calldata_set_string(emit.data(), "type", type);
    calldata_set_ptr(emit.data(), "data", data);
    emit.Make(handler_, "vendor_event_emit");
  }

  proc_handler_t *handler_ = nullptr;
  void *vendor_ = nullptr;
  uint64_t looked_ns_ = 0;
  uint64_t told_ns_ = 0;
  uint64_t changes_ = 0;
  vanta_host_engine_state engine_ = VANTA_ENGINE_UNKNOWN;
  int faces_ = 0;
};

Vendor &TheVendor() {
  static Vendor *vendor = new Vendor;
  return *vendor;
}

}  // namespace

void TickWebsocket(uint64_t now_ns) {
  if (!stopped && HasFrontend()) TheVendor().Tick(now_ns);
}

void StopWebsocket() {
  stopped = true;
}

void ForgetWebsocket() {
  TheVendor() = Vendor();
  stopped = false;
}

}  // namespace vanta_host
