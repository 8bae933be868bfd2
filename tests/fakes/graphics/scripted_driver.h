// What the GL driver says of itself, as a test changes it. The drawing stays the driver's own; without GL_KHR_debug no
// object has a label.
#pragma once

#include <string>
#include <vector>

namespace vanta_test {

struct DriverScript {
  std::vector<std::string> hidden;  // extensions of GL or EGL that are not told
  std::string version;              // of GL, as GL_VERSION's text begins: "3.3". Empty: the driver's own
  std::string renderer = {};        // GL_RENDERER's text. Empty: the driver's own
};

// The script holds while this lives. One at a time. Threads: none may ask the driver meanwhile but by the test's doing.
class ScriptedDriver {
 public:
  explicit ScriptedDriver(const DriverScript &script);
  ~ScriptedDriver();
  ScriptedDriver(const ScriptedDriver &) = delete;
  ScriptedDriver &operator=(const ScriptedDriver &) = delete;
};

}  // namespace vanta_test
