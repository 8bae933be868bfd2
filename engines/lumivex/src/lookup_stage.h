// Applies a colour table to NV12 codes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "lookup_table.h"
#include "nv12_view.h"

namespace lumivex {

// The table is turned once into a grid over the frame's own codes, 33 nodes an axis, that holds what the table adds to
// each of them; so a table that changes nothing leaves every code as it is, also those that no RGB colour has.
// Owns: the grid for the last table, strength and colour space. Borrows: the frame, for the call. Threads: one at a
// time.
class LookupStage {
 public:
  // `strength` from 0 to 1.
  void Apply(const Nv12View &view, const YuvSpace &space, const std::shared_ptr<const LookupTable> &table,
             float strength);

 private:
  static constexpr int kNodes = 33;
  static constexpr int kSpacing = 8;  // codes from node to node
  static constexpr int kScale = 16;   // fixed-point units of a level

  // What is added to Y, U and V, in 1/16ths of a level.
  struct Node {
    int16_t y;
    int16_t u;
    int16_t v;
  };

  // The four corners of a chroma code's cell, as columns of luma nodes, and their weights, 64 in all.
  struct Corners {
    const Node *columns[4];
    int weights[4];
  };

  void Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength);
  Corners CornersOf(int u, int v) const;
  static uint8_t ChangedLuma(const Corners &corners, int luma);
  static void ChangeChroma(const Corners &corners, int luma, uint8_t *codes);

  std::shared_ptr<const LookupTable> table_;
  YuvSpace space_;
  float strength_ = 0.0f;
  std::vector<Node> grid_;  // by U, V, then Y
};

}  // namespace lumivex
