// Applies a colour table to NV12 codes.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "color/lookup_table.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"

namespace lumivex {

struct LookupChroma {
  uint8_t u;
  uint8_t v;
};

// The table is turned once into a grid over the frame's own codes, 33 nodes an axis, that holds what the table adds to
// each of them; so a table that changes nothing leaves every code as it is, also those that no RGB colour has. Each
// chroma code that a picture uses gets a column of its own out of that grid when it is first met: the codes that every
// luma gives. Columns lie in the order in which they were met, so those of one picture share few pages and cache lines.
// Owns: grid and columns for the last table, strength and colour space (768 bytes for each chroma code in use, of 48
// MiB at most). Borrows: the frame, for the call. Threads: one at a time.
class LookupStage {
 public:
  // `strength` from 0 to 1.
  void Apply(const Nv12View &view, const YuvSpace &space, const std::shared_ptr<const LookupTable> &table,
             float strength, const RowBands &bands = RowBands());

 private:
  static constexpr int kNodes = 33;
  static constexpr int kSpacing = 8;  // codes from node to node
  static constexpr int kScale = 64;   // fixed-point units of a level

  static constexpr int kUnitBits = 9;  // kSpacing * kScale
  static constexpr int kUnit = 1 << kUnitBits;
  static_assert(kUnit == kSpacing * kScale);
  static constexpr size_t kChromaCodes = size_t{256} * 256;
  static constexpr int kBlock = 64;  // pairs of chroma whose luma is averaged at once

  // What is added to Y, U and V, in 1/64ths of a level.
  struct Node {
    int16_t y;
    int16_t u;
    int16_t v;
  };
  // By luma; chroma by the mean of the pixels that share it.
  struct alignas(64) Column {  // whole cache lines
    std::array<uint8_t, 256> y;
    std::array<LookupChroma, 256> chroma;
  };

  void Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength);
  void ApplyRows(const Nv12View &view, int first, int end);
  void ApplyBlock(uint8_t *codes, uint8_t *upper, uint8_t *lower, int pairs);
  void ApplyEdge(const Nv12View &view, int row, int x);
  // For one chroma code; makes it where it is not there.
  const Column &ColumnOf(uint32_t code);
  const Column &MakeColumn(uint32_t code);
  void MixColumn(int u, int v, Column &column) const;
  // The code with the addition of its nodes at that luma.
  static uint8_t Changed(const std::array<Node, kNodes> &nodes, int16_t Node::*component, int luma, int code);

  std::shared_ptr<const LookupTable> table_;
  YuvSpace space_;
  float strength_ = 0.0f;
  std::vector<Node> grid_;             // by U, V, then Y
  std::unique_ptr<Column[]> columns_;  // pages of those that no picture needs are never touched
  // By U + 256 * V; null until the code is met.
  std::unique_ptr<std::atomic<const Column *>[]> by_code_;
  std::mutex making_;
  size_t made_ = 0;  // columns
};

}  // namespace lumivex
