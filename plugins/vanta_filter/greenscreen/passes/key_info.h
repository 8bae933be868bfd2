// What the key table is made from, computed from the key colour and the similarity.
#pragma once

namespace vanta {

// The key in the chroma plane of BT.601, where each colour difference reaches from -1 to 1.
struct KeyInfo {
  float x;  // red-difference component of the key's unit direction
  float y;  // blue-difference component of it
  float z;  // length of the key's chroma vector; near 0 for a grey
  float w;  // 1 when the key lies in the sector around green, else 0
};

// `color` is red, green, blue, 0 to 1.
KeyInfo ComputeKeyInfo(const float (&color)[3]);

// Tangents of the two angles that bound the key, measured from its direction.
struct AngleInfo {
  float x;  // of similarity times 90 degrees; large and negative at 1
  float y;  // of similarity times 30 degrees
};

AngleInfo ComputeAngleInfo(float similarity);

}  // namespace vanta
