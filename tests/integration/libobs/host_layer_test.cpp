// What vanta_host does around the module where others could get in its way.
#include <gtest/gtest.h>
#include <obs.hpp>

#include "integration/support/obs_session.h"
#include "module/source_record.h"
#include "vanta_host.h"

extern "C" void __wrap_obs_register_source_s(const obs_source_info *info, size_t size);

namespace vanta_integration {
namespace {

TEST(HostLayer, ALongRecordOfAnotherLibraryLeavesTheControlObjectWhereItIs) {
  const ObsSession session;
  void *const control = vanta_host_get_faceless();
  ASSERT_NE(control, nullptr);
  // This program has no control object of its own.
  HostSourceInfo record{};
  record.id = "somebody_elses_filter";
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_VIDEO;
  record.get_name = [](void *) { return "somebody else's"; };
  record.create = [](obs_data_t *, obs_source_t *) -> void * { return new char; };
  record.destroy = [](void *data) { delete static_cast<char *>(data); };
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  const OBSSourceAutoRelease filter = obs_source_create_private(record.id, "one", nullptr);
  ASSERT_TRUE(filter);
  EXPECT_EQ(vanta_host_get_faceless(), control);
}

}  // namespace
}  // namespace vanta_integration
