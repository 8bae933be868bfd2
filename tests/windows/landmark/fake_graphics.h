// Fakes of DXGI.dll and D3D11.dll, in place of the system's: their calls go to com_doubles.h.
#pragma once

namespace vanta_test {

// Before anybody has loaded the system's. Stays until the process ends. Fails the test where it does not work.
void LoadFakeGraphics();
// A D3D11.dll that lacks its call.
void LoadFakeGraphicsWithoutDevices();

}  // namespace vanta_test
