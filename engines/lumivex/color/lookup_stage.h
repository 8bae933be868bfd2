// Applies a colour table to NV12 codes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "color/lookup_table.h"
#include "pixels/nv12_view.h"

namespace lumivex {

// The table is turned once into a grid over the frame's own codes, 33 nodes an axis, that holds what the table adds to
// each of them; so a table that changes nothing leaves every code as it is, also those that no RGB colour has. Each
// chroma code that a picture uses gets a column of its own out of that grid, when it is first met.
// Owns: grid and columns for the last table, strength and colour space (18 MB once a table is used). Borrows: the
// frame, for the call. Threads: one at a time.
class LookupStage {
 public:
  // `strength` from 0 to 1.
  void Apply(const Nv12View &view, const YuvSpace &space, const std::shared_ptr<const LookupTable> &table,
             float strength);

 private:
  static constexpr int kNodes = 33;
  static constexpr int kSpacing = 8;  // codes from node to node
  static constexpr int kScale = 64;   // fixed-point units of a level

  static constexpr int kUnitBits = 9;  // kSpacing * kScale
  static constexpr int kUnit = 1 << kUnitBits;
  static_assert(kUnit == kSpacing * kScale);

  // What is added to Y, U and V, in 1/64ths of a level.
  struct Node {
    int16_t y;
    int16_t u;
    int16_t v;
  };

  void Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength);
  // The nodes along Y for one chroma code.
  const Node *ColumnOf(int u, int v);
  void MixColumn(int u, int v, Node *column) const;
  // The code with the addition of its column at that luma.
  template <int16_t Node::*kComponent>
  static uint8_t Changed(const Node *column, int luma, int code);

  std::shared_ptr<const LookupTable> table_;
  YuvSpace space_;
  float strength_ = 0.0f;
  std::vector<Node> grid_;      // by U, V, then Y
  std::vector<Node> columns_;   // by U and V code, then Y
  std::vector<uint8_t> mixed_;  // by U and V code: the column is there
};

}  // namespace lumivex
