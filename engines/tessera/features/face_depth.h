// How far the places of an average face stand before its eyes.
#pragma once

namespace tessera {

// In units of the face's placement, towards the camera; 0 at the pupils. `x` and `y` are those of the mean shape.
// Threads: any.
float FaceDepth(float x, float y);

// What lies at (x, y) when the head looks ahead lies at (x + tangent * FaceDepth(x, y), y * TurnStretch(tangent)) when
// it is turned by an angle of that tangent: the unit, the distance between the pupils, shrinks as the head turns.
float TurnStretch(float tangent);

}  // namespace tessera
