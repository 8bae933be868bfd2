// The scenes: each appends its rows.
#pragma once

#include <string>
#include <vector>

#include "ratio.h"

namespace vanta_bench {

// Time of the frame's thread without a face, with one that rests or moves, and with three; each scene takes that many
// seconds.
void CostsAt720(double seconds, std::vector<Row> &rows);
void CostsAt1080(double seconds, std::vector<Row> &rows);
// The same on a clip of people in the street, too small for faces to be found, for a minute.
void Pedestrians(const std::string &clip, std::vector<Row> &rows);

// Faces where none is, in a minute of textures.
void Textures(std::vector<Row> &rows);

// How soon a face is shown and dropped, also over the edge.
void FindAndDrop(std::vector<Row> &rows);
// How soon a second one is shown beside a known one.
void SecondFace(std::vector<Row> &rows);
// How far points move that should rest.
void Jitter(double seconds, std::vector<Row> &rows);
// A face that moves, turns and comes nearer: its points' error, and by how many pictures they are late.
void Motion(std::vector<Row> &rows);
// How long the end of an engine's finder takes where all processors are wanted by others.
void EndBesideLoops(std::vector<Row> &rows);

}  // namespace vanta_bench
