// One operation of the read-back device in a process of its own.
//   device_loss STEP RESULT   a Direct3D whose STEP (open, map, staging) gives RESULT, a hexadecimal number
// Where the operation does not end the process, it exits with the sum of what device_loss.h names.
//   device_loss missing DLL   the system's Direct3D without that DLL: exits with 0 if that is told
#include "device_loss.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include <util/base.h>

#include "com_doubles.h"
#include "fixtures/process/log_capture.h"
#include "landmark/map_context.h"

using namespace vanta_test;

namespace {

bool TellsOfMissing(const std::string &dll) {
  const LogCapture log;
  ID3D11Device *device = nullptr;
  ID3D11DeviceContext *context = nullptr;
  return !vanta::CreateD3DDevice(&device, &context) && log.Has(LOG_ERROR, "Failed to load " + dll);
}

bool MakeStaging(int32_t result) {
  com_script.removed_reason = result;
  ID3D11Texture2D *texture = nullptr;
  return vanta::CreateStagingTexture(4, 4, static_cast<ID3D11Device *>(com_device()), &texture);
}

bool Map(int32_t open_result, int32_t map_result) {
  com_script.open_result = open_result;
  com_script.map_result = map_result;
  uint8_t *data = nullptr;
  uint32_t pitch = 0;
  return vanta::MapSharedHandleToCPU(7, 1, 0, static_cast<ID3D11Device *>(com_device()),
                                     static_cast<ID3D11DeviceContext *>(com_context()),
                                     static_cast<ID3D11Texture2D *>(com_staging()), &data, &pitch);
}

bool Run(const std::string &step, int32_t result) {
  if (step == "staging") return MakeStaging(result);
  return step == "open" ? Map(result, 0) : Map(0, result);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 1;
  const std::string step = argv[1];
  if (step == "missing") return TellsOfMissing(argv[2]) ? 0 : 1;
  const auto result = static_cast<int32_t>(std::strtoul(argv[2], nullptr, 16));
  return kSurvived + (Run(step, result) ? kSucceeded : 0);
}
