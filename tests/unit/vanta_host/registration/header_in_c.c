/* The application's header, as a C compiler sees it. */
#include "vanta_host.h"

static void count(void *param, int32_t report_id, const char *body, uint64_t time_ns) {
  (void)report_id;
  (void)body;
  (void)time_ns;
  ++*(int *)param;
}

int vanta_host_header_in_c(void);

int vanta_host_header_in_c(void) {
  struct vanta_host_worker worker;
  int reports = 0;
  int named = 0;
  vanta_host_set_report_callback(count, &reports);
  vanta_host_set_report_callback(NULL, NULL);
  while (vanta_host_switch_name((enum vanta_host_switch)named)) ++named;
  return vanta_host_get_workers(&worker, 1) == 0 && vanta_host_get_engine_state() == VANTA_ENGINE_UNKNOWN ? named : -1;
}
