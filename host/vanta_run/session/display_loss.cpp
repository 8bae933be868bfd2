#include "session/display_loss.h"

#include <X11/Xlib.h>
#include <dlfcn.h>
#include <xcb/xproto.h>

#include <atomic>
#include <cstdlib>

#include "vanta_base/export.h"

namespace vanta_run {
namespace {

std::atomic<bool> gone{false};

int Remember(Display *) {
  gone = true;
  return 0;
}

void StayAlive(Display *, void *) {}

// libobs's hotkey thread reads a reply that is not there when the connection is lost. With the server no key is pressed
// any more. Who asked frees what he gets.
template <typename Reply>
Reply *ReplyOrNothingPressed(Reply *reply, xcb_generic_error_t *const *error) {
  if (reply != nullptr || (error != nullptr && *error != nullptr)) return reply;
  gone = true;
  return static_cast<Reply *>(std::calloc(1, sizeof(Reply)));
}

}  // namespace

void OutliveDisplays() {
  XSetIOErrorHandler(Remember);
}

bool DisplayIsGone() {
  return gone;
}

}  // namespace vanta_run

// These stand in for the libraries' own, even for calls from inside libobs: the dynamic linker prefers the program's.
extern "C" {

// libobs opens a connection of its own for its hotkeys. Xlib's handler of a lost one ends the process.
VANTA_EXPORT Display *XOpenDisplay(const char *name) {
  static const auto hidden = reinterpret_cast<decltype(&XOpenDisplay)>(dlsym(RTLD_NEXT, "XOpenDisplay"));
  Display *const display = hidden(name);
  if (display != nullptr) XSetIOErrorExitHandler(display, vanta_run::StayAlive, nullptr);
  return display;
}

VANTA_EXPORT xcb_query_keymap_reply_t *xcb_query_keymap_reply(xcb_connection_t *connection,
                                                              xcb_query_keymap_cookie_t cookie,
                                                              xcb_generic_error_t **error) {
  static const auto hidden =
      reinterpret_cast<decltype(&xcb_query_keymap_reply)>(dlsym(RTLD_NEXT, "xcb_query_keymap_reply"));
  return vanta_run::ReplyOrNothingPressed(hidden(connection, cookie, error), error);
}

VANTA_EXPORT xcb_query_pointer_reply_t *xcb_query_pointer_reply(xcb_connection_t *connection,
                                                                xcb_query_pointer_cookie_t cookie,
                                                                xcb_generic_error_t **error) {
  static const auto hidden =
      reinterpret_cast<decltype(&xcb_query_pointer_reply)>(dlsym(RTLD_NEXT, "xcb_query_pointer_reply"));
  return vanta_run::ReplyOrNothingPressed(hidden(connection, cookie, error), error);
}

}  // extern "C"
